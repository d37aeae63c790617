// Hosts as separate processes, answering each dialog through the test hook;
// exits 0 when every answer came back as expected.
//   qt     a QApplication runs on the main thread while a worker calls the
//          entries: the dialogs run on the host's thread
//   gui    the same with a QGuiApplication, and
//   core   with a QCoreApplication: no widget can be shown, each entry fails
//   plain  no Qt at all: the library starts its own GUI thread, serves the
//          main thread and two workers at once, and lets the process exit
#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QThread>
#include <QTimer>

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

bool askPassword(bool shown)
{
    char *pwd = nullptr;
    const int rc = TavikPKIUIGetPassword(nullptr, "host", &pwd);
    const tavik::TextPtr owned(rc == TAVIKPKIUI_NO_PASSWORD ? nullptr : pwd);
    return shown ? rc == 1 && pwd && !std::strcmp(pwd, "abc") : rc == TAVIKPKIUI_NO_PASSWORD;
}

void callEntries(bool widgets)
{
    check(askPassword(widgets), "GetPassword from a worker");
    TAVIK_CERT_st *rawCert = nullptr;
    const std::string path = std::string(PKIUI_FIXTURES) + "/rsa-leaf.pem";
    check(TavikPKICertNewFromFile(path.c_str(), &rawCert) == 1, "fixture loads");
    const tavik::CertPtr cert(rawCert);
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
    QTimer::singleShot(30000, app.get(), [] {
        check(false, "entries answered within 30 s");
        QCoreApplication::exit(1);
    });
    QCoreApplication::exec();
    worker.join();
}

} // namespace

int main(int argc, char **argv)
{
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode != "qt" && mode != "gui" && mode != "core" && mode != "plain") {
        std::fprintf(stderr, "usage: ui-host qt|gui|core|plain\n");
        return 2;
    }
    g_mainThread = std::this_thread::get_id();
    g_plain = mode == "plain";
    pkiui::setDialogShownHook(answer);
    if (g_plain)
        plainHost();
    else
        qtHost(mode, argc, argv);
    check(tavik_debug_live_objects() == 0, "no toolkit object left");
    // In the plain host the library's thread is left waiting: exiting now
    // must neither hang nor crash.
    return g_failures == 0 ? 0 : 1;
}
