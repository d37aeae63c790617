// What opening the certificate chooser costs for 10 and for 10,000
// candidates, against duplicating 10,000 handles alone: the chooser should
// add nothing per row beyond the duplicates.
#include <benchmark/benchmark.h>

#include <QApplication>

#include <malloc.h>

#include <cstdlib>
#include <vector>

#include "bench_fixtures.hpp"
#include "dialog_window.hpp"
#include "select_cert_dlg.hpp"

namespace {

std::vector<TAVIK_CERT_st *> candidates(TAVIK_CERT_st *cert, std::size_t count)
{
    return std::vector<TAVIK_CERT_st *>(count, cert);
}

std::size_t heapInUse()
{
    return mallinfo2().uordblks;
}

// Heap held at the peak of one iteration, averaged over the iterations.
void reportHeap(benchmark::State &state, std::size_t bytes)
{
    state.counters["heap_bytes"] =
        benchmark::Counter(static_cast<double>(bytes), benchmark::Counter::kAvgIterations,
                           benchmark::Counter::kIs1024);
}

// The window built as the entry builds it, shown and painted once.
void OpenDialog(benchmark::State &state)
{
    const tavik::CertPtr cert = pkiui::bench::handleOf(pkiui::bench::readFixture("rsa-leaf.der"));
    if (!cert)
        return state.SkipWithError("fixture does not load");
    auto certs = candidates(cert.get(), static_cast<std::size_t>(state.range(0)));
    std::size_t heap = 0;
    for (auto _ : state) {
        const std::size_t before = heapInUse();
        pkiui::DialogWindow window(nullptr, QStringLiteral("证书选择对话框"), QSize(552, 200),
                                   pkiui::TitleButtons::CloseAndMinimise);
        auto *view = new pkiui::SelectCertDlg(&window);
        view->setCertificateHandles(certs.data(), static_cast<int>(certs.size()));
        view->setOwner(&window);
        window.setView(view);
        window.show();
        benchmark::DoNotOptimize(window.grab());
        heap += heapInUse() - before;
    }
    reportHeap(state, heap);
}

void DuplicateHandles(benchmark::State &state)
{
    const tavik::CertPtr cert = pkiui::bench::handleOf(pkiui::bench::readFixture("rsa-leaf.der"));
    if (!cert)
        return state.SkipWithError("fixture does not load");
    const auto count = static_cast<std::size_t>(state.range(0));
    std::size_t heap = 0;
    for (auto _ : state) {
        const std::size_t before = heapInUse();
        std::vector<tavik::CertPtr> copies;
        copies.reserve(count);
        for (std::size_t i = 0; i < count; ++i)
            copies.emplace_back(TavikPKICertDupCert(cert.get()));
        heap += heapInUse() - before;
        benchmark::DoNotOptimize(copies.data());
    }
    reportHeap(state, heap);
}

BENCHMARK(OpenDialog)->Arg(10)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(DuplicateHandles)->Arg(10000)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    int qtArgc = 1;
    QApplication app(qtArgc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
