// A host that uses Qt: its application runs on the main thread while a worker
// thread calls the entries. With a QApplication the dialogs run on the host's
// thread; with a QGuiApplication or a QCoreApplication ("gui", "core") no
// widget can be shown and each entry fails at once. Exits 0 when all answers
// came back as expected.
#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QThread>
#include <QTimer>

#include <cstdio>
#include <cstring>
#include <string>
#include <memory>
#include <thread>

#include "Tavik_PKI_Crypto_UI.h"
#include "tavik_debug.h"
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
    check(window->thread() == QCoreApplication::instance()->thread(),
          "dialog built on the GUI thread");
    QTimer::singleShot(0, window, [window] {
        if (auto *field = window->findChild<QLineEdit *>(QStringLiteral("passwordField")))
            field->setText(QStringLiteral("1234"));
        window->findChild<QPushButton *>(QStringLiteral("okButton"))->click();
    });
}

void callEntries(bool widgets)
{
    char *pwd = nullptr;
    const int rc = TavikPKIUIGetPassword(nullptr, "host", &pwd);
    check(widgets ? rc == 1 && pwd && !std::strcmp(pwd, "1234") : rc == TAVIKPKIUI_NO_PASSWORD,
          "GetPassword from a worker");
    TavikPKICryptoFreeMemory(pwd);

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

} // namespace

int main(int argc, char **argv)
{
    const std::string kind = argc > 1 ? argv[1] : "";
    std::unique_ptr<QCoreApplication> app;
    if (kind == "gui")
        app = std::make_unique<QGuiApplication>(argc, argv);
    else if (kind == "core")
        app = std::make_unique<QCoreApplication>(argc, argv);
    else
        app = std::make_unique<QApplication>(argc, argv);
    const bool widgets = kind.empty();
    pkiui::setDialogShownHook(answer);
    const long before = tavik_debug_live_objects();
    if (!widgets) {
        char *pwd = nullptr;
        check(TavikPKIUIGetPassword(nullptr, "host", &pwd) == TAVIKPKIUI_NO_PASSWORD,
              "GetPassword on the application's thread");
    }
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
    pkiui::setDialogShownHook({});
    check(tavik_debug_live_objects() == before, "no toolkit object left");
    return g_failures == 0 ? 0 : 1;
}
