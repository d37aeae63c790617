// From TavikPKIUIDisplayCert over a parent (it returns at once) to the
// viewer's first painted frame, offscreen, for the three-certificate chain;
// against an empty window of the same size shown in the same run.
#include <QApplication>
#include <QEvent>
#include <QWidget>
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <functional>

#include "Tavik_PKI_Crypto_UI.h"
#include "bench_fixtures.hpp"
#include "dialog_window.hpp"

namespace {

using Clock = std::chrono::steady_clock;

// Notes a paint in the window named name. A frame is painted within one
// event, so once processEvents returns after a paint the frame is complete.
class PaintWatch final : public QObject {
  public:
    explicit PaintWatch(QString name) : m_name(std::move(name)) { qApp->installEventFilter(this); }
    ~PaintWatch() override { qApp->removeEventFilter(this); }
    bool painted() const { return m_painted; }

  protected:
    bool eventFilter(QObject *object, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && object->isWidgetType() &&
            static_cast<QWidget *>(object)->window()->objectName() == m_name)
            m_painted = true;
        return false;
    }

  private:
    QString m_name;
    bool m_painted = false;
};

// Seconds from show() being called to the window's first painted frame.
double firstFrame(const QString &name, const std::function<QWidget *()> &show)
{
    const PaintWatch watch(name);
    const auto start = Clock::now();
    QWidget *window = show();
    while (!watch.painted())
        QCoreApplication::processEvents();
    const std::chrono::duration<double> took = Clock::now() - start;
    delete window;
    return took.count();
}

void ViewerFirstFrame(benchmark::State &state)
{
    TavikPKICertStoreClear();
    TavikPKICertStoreAddTrustedFile(PKIUI_FIXTURES "/rsa-root.pem");
    TavikPKICertStoreAddIntermediateFile(PKIUI_FIXTURES "/rsa-inter.pem");
    const tavik::CertPtr leaf = pkiui::bench::handleOf(pkiui::bench::readFixture("rsa-leaf.der"));
    QWidget parent;
    parent.setObjectName(QStringLiteral("host"));
    parent.resize(200, 100);
    parent.show();
    firstFrame(QStringLiteral("host"), [&] { return nullptr; });

    double viewerTotal = 0;
    double emptyTotal = 0;
    for (auto _ : state) {
        const double empty = firstFrame(QStringLiteral("emptyWindow"), [&] {
            auto *window = new pkiui::DialogWindow(&parent, QStringLiteral("证书"), QSize(400, 450),
                                                   pkiui::TitleButtons::MinimiseOnly);
            window->setObjectName(QStringLiteral("emptyWindow"));
            window->centre();
            window->show();
            return window;
        });
        const double viewer = firstFrame(QStringLiteral("certViewerWindow"), [&]() -> QWidget * {
            if (TavikPKIUIDisplayCert(&parent, leaf.get()) != 1)
                state.SkipWithError("the viewer was not shown");
            return parent.findChild<QWidget *>(QStringLiteral("certViewerWindow"));
        });
        state.SetIterationTime(viewer);
        viewerTotal += viewer;
        emptyTotal += empty;
    }
    const auto n = static_cast<double>(state.iterations());
    state.counters["viewer_ms"] = 1e3 * viewerTotal / n;
    state.counters["empty_window_ms"] = 1e3 * emptyTotal / n;
    state.counters["ratio"] = viewerTotal / emptyTotal;
    TavikPKICertStoreClear();
}
BENCHMARK(ViewerFirstFrame)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
