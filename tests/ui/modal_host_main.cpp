// A Qt host written the usual way: a "Sign" dialog run with exec() calls each
// blocking entry of the library from its OK handler. e2e-hosts.sh answers
// them with real keys under Xvfb and meanwhile clicks the host's dialog,
// which must not react. Prints where to click, then each result.
// usage: modal-host PKCS11_MODULE TOKEN_LABEL CERT_FILE
#include <QApplication>
#include <QDialog>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include <cstdio>
#include <string>

#include "Tavik_PKI_Crypto_UI.h"
#include "tavik_ptr.hpp"

namespace {

std::string password(int rc, char *pwd)
{
    const tavik::TextPtr owned(pwd);
    return std::to_string(rc) + (rc == TAVIKPKIUI_OK ? std::string(" ") + pwd : "");
}

void say(const std::string &line)
{
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

void callEntries(const char *module, const char *token, const char *certFile)
{
    char *pwd = nullptr;
    int rc = TavikPKIUIGetPassword(nullptr, "签名", &pwd);
    say("password: " + password(rc, pwd));

    TAVIK_PKI_DEVICE_HANDLE_st *rawDevice = nullptr;
    if (TavikPKIDeviceOpen(module, token, &rawDevice) == 1) {
        const tavik::DevicePtr device(rawDevice);
        pwd = nullptr;
        rc = TavikPKIUIVerifyPassword(nullptr, device.get(), 1, "签名", &pwd);
        say("pin: " + password(rc, pwd));
    }

    TAVIK_CERT_st *rawCert = nullptr;
    if (TavikPKICertNewFromFile(certFile, &rawCert) != 1)
        return;
    const tavik::CertPtr cert(rawCert);
    TAVIK_CERT_st *certs[] = {cert.get()};
    const tavik::CertPtr chosen(TavikPKIUISelectCert(nullptr, nullptr, nullptr, certs, 1));
    say(std::string("select: ") + (chosen ? "chosen" : "null"));
    say("view: " + std::to_string(TavikPKIUIDisplayCert(nullptr, cert.get())));
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    if (argc != 4) {
        std::fprintf(stderr, "usage: modal-host PKCS11_MODULE TOKEN_LABEL CERT_FILE\n");
        return 2;
    }
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
        say("host-windows " + std::to_string(mainWindow.winId()) + " " +
            std::to_string(sign.winId()));
        say("poke " + std::to_string(at.x()) + " " + std::to_string(at.y()));
        callEntries(argv[1], argv[2], argv[3]);
        say("pokes: " + std::to_string(pokes));
        sign.accept();
    });
    // Pressed once the dialog's own loop runs, as a user would.
    QTimer::singleShot(500, ok, &QPushButton::click);
    sign.exec();
    return 0;
}
