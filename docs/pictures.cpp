// pkiui-pictures: renders each dialog offscreen to PNG files for the README.
// A Qt host of its own that calls the public entries and, through the dialog
// seam, photographs each window once it is up and then closes it.
#include <QApplication>
#include <QDir>
#include <QKeyEvent>
#include <QMessageBox>
#include <QTabWidget>
#include <QTimer>

#include <cstdio>
#include <functional>
#include <vector>

#include "Tavik_PKI_Crypto_UI.h"
#include "tavik_debug.h"
#include "tavik_ptr.hpp"
#include "test_seams.hpp"

namespace {

QString g_dir;
bool g_ok = true;

void save(QWidget *widget, const char *name)
{
    const QString file = QDir(g_dir).absoluteFilePath(QString::fromLatin1(name));
    if (!widget->grab().save(file)) {
        std::fprintf(stderr, "pkiui-pictures: cannot write %s\n", qPrintable(file));
        g_ok = false;
        return;
    }
    std::printf("%s\n", qPrintable(file));
}

// Runs what with the next dialog window once it has been laid out and painted.
void onNextDialog(std::function<void(QWidget *)> what)
{
    pkiui::setDialogShownHook([what](QWidget *window) {
        pkiui::setDialogShownHook({});
        QTimer::singleShot(100, window, [what, window] { what(window); });
    });
}

void pressReturn(QWidget *window)
{
    QWidget *target = window->focusWidget() ? window->focusWidget() : window;
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    QApplication::sendEvent(target, &press);
}

std::vector<tavik::CertPtr> sampleChain()
{
    std::vector<tavik::CertPtr> out;
    tavik::CertPath certs;
    if (TavikPKICertNewAllFromFile(PKIUI_SAMPLE_CHAIN, certs.outCerts(), certs.outCount()) != 1)
        return out;
    for (int i = 0; i < certs.size(); ++i)
        out.emplace_back(TavikPKICertDupCert(certs[i]));
    return out;
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    g_dir = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("pictures");
    QDir().mkpath(g_dir);

    const auto chain = sampleChain(); // leaf, intermediate, root
    if (chain.size() != 3) {
        std::fprintf(stderr, "pkiui-pictures: cannot read %s\n", PKIUI_SAMPLE_CHAIN);
        return 1;
    }
    TavikPKICertStoreAddIntermediate(chain[1].get());
    TavikPKICertStoreAddTrusted(chain[2].get());

    onNextDialog([](QWidget *window) {
        save(window, "chooser.png");
        window->close();
    });
    std::vector<TAVIK_CERT_st *> offered{chain[0].get(), chain[1].get(), chain[2].get()};
    tavik::CertPtr(TavikPKIUISelectCert(nullptr, nullptr, nullptr, offered.data(), 3));

    // The password prompt, then the alert an empty password raises.
    onNextDialog([](QWidget *window) {
        save(window, "password.png");
        pressReturn(window);
        QTimer::singleShot(100, window, [window] {
            if (auto *box = window->findChild<QMessageBox *>(QStringLiteral("alertBox"))) {
                save(box, "alert.png");
                box->close();
            }
            window->close();
        });
    });
    char *pwd = nullptr;
    TavikPKIUIGetPassword(nullptr, "请输入签名用的密码", &pwd);
    TavikPKICryptoFreeMemory(pwd);

    // A device that says three tries are left.
    TAVIK_PKI_DEVICE_HANDLE_st *raw = nullptr;
    const TavikPKIScriptedAnswer rejected{-5, 2};
    if (TavikPKIDeviceOpenScripted(1, 3, &rejected, 1, &raw) == 1) {
        tavik::DevicePtr device(raw);
        onNextDialog([](QWidget *window) {
            save(window, "pin.png");
            window->close();
        });
        pwd = nullptr;
        TavikPKIUIVerifyPassword(nullptr, device.get(), 1, "请输入 USB Key 的 PIN 码", &pwd);
        TavikPKICryptoFreeMemory(pwd);
    }

    onNextDialog([](QWidget *window) {
        static const char *const names[] = {"viewer-general.png", "viewer-details.png",
                                            "viewer-path.png"};
        auto *tabs = window->findChild<QTabWidget *>();
        for (int i = 0; tabs && i < tabs->count() && i < 3; ++i) {
            tabs->setCurrentIndex(i);
            QApplication::processEvents();
            save(window, names[i]);
        }
        window->close();
    });
    TavikPKIUIDisplayCert(nullptr, chain[0].get());

    TavikPKICertStoreClear();
    return g_ok ? 0 : 1;
}
