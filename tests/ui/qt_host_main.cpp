// A host that uses Qt: its QApplication runs on the main thread while a worker
// thread calls a password entry and the viewer. Exits 0 when all answers came back.
#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QThread>
#include <QTimer>

#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include "Tavik_PKI_Crypto_UI.h"
#include "tavik_ptr.hpp"
#include "test_seams.hpp"

namespace {

int g_failures = 0;

void check(bool ok, const char *what)
{
    if (!ok) {
        std::fprintf(stderr, "FAILED: %s\n", what);
        ++g_failures;
    }
}

// Answers each dialog the way its window asks for.
void answer(QWidget *window)
{
    check(window->thread() == qApp->thread(), "dialog built on the GUI thread");
    QTimer::singleShot(0, window, [window] {
        if (auto *field = window->findChild<QLineEdit *>(QStringLiteral("passwordField")))
            field->setText(QStringLiteral("1234"));
        window->findChild<QPushButton *>(QStringLiteral("okButton"))->click();
    });
}

void callEntries()
{
    char *pwd = nullptr;
    check(TavikPKIUIGetPassword(nullptr, "host", &pwd) == 1 && pwd && !std::strcmp(pwd, "1234"),
          "GetPassword from a worker");
    TavikPKICryptoFreeMemory(pwd);

    TAVIK_CERT_st *rawCert = nullptr;
    const std::string path = std::string(PKIUI_FIXTURES) + "/rsa-leaf.pem";
    check(TavikPKICertNewFromFile(path.c_str(), &rawCert) == 1, "fixture loads");
    const tavik::CertPtr cert(rawCert);
    check(TavikPKIUIDisplayCert(nullptr, cert.get()) == 1, "DisplayCert from a worker");
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    pkiui::setDialogShownHook(answer);
    const long before = tavik_debug_live_objects();
    std::thread worker([] {
        callEntries();
        QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    });
    QTimer::singleShot(30000, &app, [] {
        check(false, "entries answered within 30 s");
        QCoreApplication::exit(1);
    });
    QApplication::exec();
    worker.join();
    pkiui::setDialogShownHook({});
    check(tavik_debug_live_objects() == before, "no toolkit object left");
    return g_failures == 0 ? 0 : 1;
}
