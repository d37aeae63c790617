// A host without Qt: the library must start its own GUI thread, serve calls
// from the main thread and from workers, and let the process exit cleanly.
// Qt is touched only inside the dialog hook, as an end-to-end tool would.
#include <QCoreApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <thread>

#include "Tavik_PKI_Crypto_UI.h"
#include "tavik_debug.h"
#include "test_seams.hpp"

namespace {

std::atomic<int> g_failures{0};
std::atomic<int> g_dialogs{0};
std::thread::id g_mainThread;

void check(bool ok, const char *what)
{
    if (!ok) {
        std::fprintf(stderr, "FAILED: %s\n", what);
        ++g_failures;
    }
}

void answer(QWidget *window)
{
    ++g_dialogs;
    check(std::this_thread::get_id() != g_mainThread, "dialog on the library's own thread");
    // The field's context menu, one of Qt's own texts, in the dialogs' language.
    check(QCoreApplication::translate("QLineEdit", "&Undo") != QLatin1String("&Undo"),
          "Qt's own texts translated");
    QTimer::singleShot(0, window, [window] {
        window->findChild<QLineEdit *>(QStringLiteral("passwordField"))
            ->setText(QStringLiteral("abc"));
        window->findChild<QPushButton *>(QStringLiteral("okButton"))->click();
    });
}

bool askPassword()
{
    char *pwd = nullptr;
    const int result = TavikPKIUIGetPassword(nullptr, "plain host", &pwd);
    const bool ok = result == 1 && pwd && !std::strcmp(pwd, "abc");
    TavikPKICryptoFreeMemory(pwd);
    return ok;
}

} // namespace

int main()
{
    g_mainThread = std::this_thread::get_id();
    pkiui::setDialogShownHook(answer);
    check(askPassword(), "GetPassword from the main thread");
    // Two workers at once: the dialogs are shown one after the other.
    bool workersOk[2] = {false, false};
    std::thread first([&] { workersOk[0] = askPassword(); });
    std::thread second([&] { workersOk[1] = askPassword(); });
    first.join();
    second.join();
    check(workersOk[0] && workersOk[1], "GetPassword from two worker threads at once");
    check(g_dialogs == 3, "three dialogs shown");
    check(tavik_debug_live_objects() == 0, "no toolkit object left");
    // The library's thread is left waiting: exiting now must neither hang
    // nor crash.
    return g_failures == 0 ? 0 : 1;
}
