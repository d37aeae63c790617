// Hosts as separate processes, answering each dialog through the test hook;
// exits 0 when every answer came back as expected.
//   qt     a QApplication runs on the main thread while a worker calls the
//          entries: the dialogs run on the host's thread
//   gui    the same with a QGuiApplication, and
//   core   with a QCoreApplication: no widget can be shown, each entry fails
//   plain  no Qt at all: the library starts its own GUI thread, serves the
//          main thread and two workers at once, and lets the process exit
//   modal MODULE TOKEN
//          a Qt host written the usual way: a "Sign" dialog run with exec()
//          calls each blocking entry from its OK handler. e2e-hosts.sh
//          answers them with real keys under Xvfb and meanwhile clicks the
//          host's dialog, which must not react. Prints where to click and
//          the host's windows, then each result.
#include <QApplication>
#include <QDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QThread>
#include <QTimer>
#include <QVBoxLayout>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include "Tavik_PKI_Crypto_UI.h"
#include "tavik_debug.h"
#include "tavik_ptr.hpp"
#include "test_seams.hpp"

namespace {

std::atomic<int> g_failures{0};
std::atomic<int> g_dialogs{0};
std::thread::id g_mainThread;
bool g_plain = false;

void check(bool ok, const char *what)
{
    if (!ok) {
        std::fprintf(stderr, "FAILED: %s\n", what);
        ++g_failures;
    }
}

// Types "abc" where there is a field and presses OK.
void answer(QWidget *window)
{
    ++g_dialogs;
    check((std::this_thread::get_id() != g_mainThread) == g_plain &&
              window->thread() == QThread::currentThread(),
          "dialog built on the host's thread, else on the library's own");
    // The field's context menu, one of Qt's own texts, in the dialogs' language.
    check(!g_plain || QCoreApplication::translate("QLineEdit", "&Undo") != "&Undo",
          "Qt's own texts translated when the library owns the application");
    QTimer::singleShot(0, window, [window] {
        if (auto *field = window->findChild<QLineEdit *>(QStringLiteral("passwordField")))
            field->setText(QStringLiteral("abc"));
        window->findChild<QPushButton *>(QStringLiteral("okButton"))->click();
    });
}

// A password entry's result as text: "1 abc", or the code alone.
std::string passwordResult(int rc, char *pwd)
{
    const tavik::TextPtr owned(rc == TAVIKPKIUI_NO_PASSWORD ? nullptr : pwd);
    return std::to_string(rc) + (rc == TAVIKPKIUI_OK ? std::string(" ") + pwd : "");
}

bool askPassword(bool shown)
{
    char *pwd = nullptr;
    const int rc = TavikPKIUIGetPassword(nullptr, "host", &pwd);
    return passwordResult(rc, pwd) == (shown ? "1 abc" : std::to_string(TAVIKPKIUI_NO_PASSWORD));
}

tavik::CertPtr leaf()
{
    TAVIK_CERT_st *cert = nullptr;
    check(TavikPKICertNewFromFile(PKIUI_FIXTURES "/rsa-leaf.pem", &cert) == 1, "fixture loads");
    return tavik::CertPtr(cert);
}

void callEntries(bool widgets)
{
    check(askPassword(widgets), "GetPassword from a worker");
    const tavik::CertPtr cert = leaf();
    check(TavikPKIUIDisplayCert(nullptr, cert.get()) == (widgets ? 1 : 0),
          "DisplayCert from a worker");
    if (!widgets) {
        TAVIK_CERT_st *certs[] = {cert.get()};
        check(!TavikPKIUISelectCert(nullptr, nullptr, nullptr, certs, 1),
              "SelectCert from a worker");
    }
}

// Calls from the main thread, then from two workers at once: the dialogs are
// shown one after the other.
void plainHost()
{
    check(askPassword(true), "GetPassword from the main thread");
    std::atomic<bool> ok[2] = {false, false};
    std::thread first([&] { ok[0] = askPassword(true); });
    std::thread second([&] { ok[1] = askPassword(true); });
    first.join();
    second.join();
    check(ok[0] && ok[1], "GetPassword from two worker threads at once");
    check(g_dialogs == 3, "three dialogs shown");
}

void qtHost(const std::string &mode, int argc, char **argv)
{
    std::unique_ptr<QCoreApplication> app;
    if (mode == "gui")
        app = std::make_unique<QGuiApplication>(argc, argv);
    else if (mode == "core")
        app = std::make_unique<QCoreApplication>(argc, argv);
    else
        app = std::make_unique<QApplication>(argc, argv);
    const bool widgets = mode == "qt";
    if (!widgets)
        check(askPassword(false), "GetPassword on the application's thread");
    std::thread worker([widgets] {
        callEntries(widgets);
        QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit,
                                  Qt::QueuedConnection);
    });
    QCoreApplication::exec();
    worker.join();
}

void signEntries(const char *module, const char *token)
{
    char *pwd = nullptr;
    int rc = TavikPKIUIGetPassword(nullptr, "签名", &pwd);
    std::printf("password: %s\n", passwordResult(rc, pwd).c_str());
    TAVIK_PKI_DEVICE_HANDLE_st *rawDevice = nullptr;
    if (TavikPKIDeviceOpen(module, token, &rawDevice) == 1) {
        const tavik::DevicePtr device(rawDevice);
        pwd = nullptr;
        rc = TavikPKIUIVerifyPassword(nullptr, device.get(), 1, "签名", &pwd);
        std::printf("pin: %s\n", passwordResult(rc, pwd).c_str());
    }
    const tavik::CertPtr cert = leaf();
    TAVIK_CERT_st *certs[] = {cert.get()};
    const tavik::CertPtr chosen(TavikPKIUISelectCert(nullptr, nullptr, nullptr, certs, 1));
    std::printf("select: %s\n", chosen ? "chosen" : "null");
    std::printf("view: %d\n", TavikPKIUIDisplayCert(nullptr, cert.get()));
}

void modalHost(int argc, char **argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ); // the script reads each line as it comes
    QApplication app(argc, argv);
    QWidget mainWindow;
    mainWindow.resize(300, 200);
    mainWindow.show();
    QDialog sign(&mainWindow);
    sign.setWindowTitle(QStringLiteral("Sign"));
    auto *layout = new QVBoxLayout(&sign);
    auto *poke = new QPushButton(QStringLiteral("poke"), &sign);
    auto *ok = new QPushButton(QStringLiteral("OK"), &sign);
    layout->addWidget(poke);
    layout->addWidget(ok);
    int pokes = 0;
    QObject::connect(poke, &QPushButton::clicked, [&pokes] { ++pokes; });
    QObject::connect(ok, &QPushButton::clicked, &sign, [&] {
        const QPoint at = poke->mapToGlobal(poke->rect().center());
        std::printf("poke %d %d %s %s\n", at.x(), at.y(),
                    std::to_string(mainWindow.winId()).c_str(),
                    std::to_string(sign.winId()).c_str());
        signEntries(argv[2], argv[3]);
        std::printf("pokes: %d\n", pokes);
        sign.accept();
    });
    // Pressed once the dialog's own loop runs, as a user would.
    QTimer::singleShot(500, ok, &QPushButton::click);
    sign.exec();
}

} // namespace

int main(int argc, char **argv)
{
    const std::string mode = argc > 1 ? argv[1] : "";
    const bool modal = mode == "modal" && argc == 4;
    if (!modal && mode != "qt" && mode != "gui" && mode != "core" && mode != "plain") {
        std::fprintf(stderr, "usage: ui-host qt|gui|core|plain|modal MODULE TOKEN\n");
        return 2;
    }
    g_mainThread = std::this_thread::get_id();
    g_plain = mode == "plain";
    if (!modal)
        pkiui::setDialogShownHook(answer);
    if (modal)
        modalHost(argc, argv);
    else if (g_plain)
        plainHost();
    else
        qtHost(mode, argc, argv);
    check(tavik_debug_live_objects() == 0, "no toolkit object left");
    // In the plain host the library's thread is left waiting: exiting now
    // must neither hang nor crash.
    return g_failures == 0 ? 0 : 1;
}
