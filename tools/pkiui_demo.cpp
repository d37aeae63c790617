// pkiui-demo: runs each dialog of the library the way a host would.
#include <QApplication>
#include <QDir>
#include <QTabWidget>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "Tavik_PKI_Crypto_UI.h"
#include "dialog_window.hpp"
#include "gui_thread.hpp"
#include "platform_probe.hpp"
#include "show_cert_detail_dlg.hpp"
#include "show_cert_info_dlg.hpp"
#include "tavik_ptr.hpp"
#include "viewer_trace.hpp"

namespace {

constexpr const char *kUsage =
    "usage: pkiui-demo view [FILE] [--out DIR]\n"
    "       pkiui-demo select FILE...\n"
    "       pkiui-demo password [--message TEXT]\n"
    "       pkiui-demo pin [--module PATH] [--token LABEL] [--pin-type N] [--message TEXT]\n"
    "\n"
    "view      shows the certificate viewer on the first certificate of FILE (default:\n"
    "          the sample chain); the others in FILE help build its path, self-signed\n"
    "          ones as trust anchors. With no display each tab is rendered to a PNG\n"
    "          file in DIR (default ./pkiui-demo-shots) and the paths are printed.\n"
    "select    offers every certificate of the files and prints the chosen subject.\n"
    "password  asks for a password and prints the result code.\n"
    "pin       asks for the PIN of a PKCS#11 token, verifies it and prints the code.\n";

int usage()
{
    std::fputs(kUsage, stderr);
    return 2;
}

// The value after an option, or null when it is missing.
const char *optionValue(int &i, int argc, char **argv)
{
    return i + 1 < argc ? argv[++i] : nullptr;
}

std::vector<tavik::CertPtr> loadAll(const char *path)
{
    std::vector<tavik::CertPtr> out;
    tavik::CertPath certs;
    if (TavikPKICertNewAllFromFile(path, certs.outCerts(), certs.outCount()) != 1)
        return out;
    for (int i = 0; i < certs.size(); ++i)
        out.emplace_back(TavikPKICertDupCert(certs[i]));
    return out;
}

std::string subjectOf(TAVIK_CERT_st *cert)
{
    for (int code : {TAVIK_ATTR_SUBJECT_CN, TAVIK_ATTR_ISSUER_NAME}) {
        char *text = nullptr;
        if (TavikPKICertGetCertStringAttribute(cert, code, &text) == 1) {
            tavik::TextPtr owner(text);
            return text;
        }
    }
    return "(no name)";
}

bool selfSigned(TAVIK_CERT_st *cert)
{
    tavik::CertPath path;
    return TavikPKICertGetCertPath(cert, path.outCerts(), path.outCount()) == 1 && path.size() == 1;
}

// Renders each tab of the viewer to DIR/viewer-N.png.
int renderOffscreen(TAVIK_CERT_st *cert, const QString &dir)
{
    int rc = 1;
    const bool ran = pkiui::runOnGuiThread([&] {
        QDir().mkpath(dir);
        const auto [window, view] = pkiui::makeViewerWindow(nullptr, cert);
        if (!window) {
            std::fprintf(stderr, "pkiui-demo: the certificate cannot be read\n");
            return;
        }
        window->show();
        auto *tabs = view->findChild<QTabWidget *>();
        for (int i = 0; tabs && i < tabs->count(); ++i) {
            tabs->setCurrentIndex(i);
            QApplication::processEvents();
            const QString file =
                QDir(dir).absoluteFilePath(QStringLiteral("viewer-%1.png").arg(i + 1));
            if (!window->grab().save(file)) {
                std::fprintf(stderr, "pkiui-demo: cannot write %s\n", qPrintable(file));
                return;
            }
            std::printf("%s: %s\n", qPrintable(tabs->tabText(i)), qPrintable(file));
        }
        // The details tab's rows, one line each.
        const auto &rows = view->showCertDetailDlg()->model();
        for (int r = 0; r < rows.numberOfRows(); ++r) {
            const QString value = QString::fromStdString(rows.rowAt(r)->value).simplified();
            std::printf("  %s: %s\n", rows.rowAt(r)->name.c_str(), value.toUtf8().constData());
        }
        rc = 0;
    });
    return ran ? rc : 1;
}

int view(int argc, char **argv)
{
    const char *file = PKIUI_SAMPLE_CHAIN;
    QString out = QStringLiteral("pkiui-demo-shots");
    for (int i = 2; i < argc; ++i) {
        if (std::strcmp(argv[i], "--out") == 0) {
            const char *value = optionValue(i, argc, argv);
            if (!value)
                return usage();
            out = QString::fromLocal8Bit(value);
        } else if (argv[i][0] == '-') {
            return usage();
        } else {
            file = argv[i];
        }
    }
    const auto certs = loadAll(file);
    if (certs.empty()) {
        std::fprintf(stderr, "pkiui-demo: %s: no certificate could be read\n", file);
        return 1;
    }
    for (std::size_t i = 1; i < certs.size(); ++i) {
        if (selfSigned(certs[i].get()))
            TavikPKICertStoreAddTrusted(certs[i].get());
        else
            TavikPKICertStoreAddIntermediate(certs[i].get());
    }
    std::printf("certificate: %s\n", subjectOf(certs[0].get()).c_str());
    // A viewer on the offscreen or minimal platform would wait, unseen, for a
    // click that cannot come: render the tabs instead, as with no display.
    const std::optional<std::string> platform = pkiui::reachablePlatform();
    if (!platform || !pkiui::showsWindows(*platform)) {
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        return renderOffscreen(certs[0].get(), out);
    }
    pkiui::demo::traceViewersIfAsked();
    return TavikPKIUIDisplayCert(nullptr, certs[0].get()) == 1 ? 0 : 1;
}

int select(int argc, char **argv)
{
    std::vector<tavik::CertPtr> owned;
    for (int i = 2; i < argc; ++i) {
        auto certs = loadAll(argv[i]);
        if (certs.empty()) {
            std::fprintf(stderr, "pkiui-demo: %s: no certificate could be read\n", argv[i]);
            return 1;
        }
        for (auto &cert : certs)
            owned.push_back(std::move(cert));
    }
    if (owned.empty())
        return usage();
    std::vector<TAVIK_CERT_st *> handles;
    for (const auto &cert : owned)
        handles.push_back(cert.get());
    tavik::CertPtr chosen(TavikPKIUISelectCert(nullptr, nullptr, nullptr, handles.data(),
                                               static_cast<int32_t>(handles.size())));
    if (!chosen) {
        std::printf("no certificate chosen\n");
        return 1;
    }
    std::printf("chosen: %s\n", subjectOf(chosen.get()).c_str());
    return 0;
}

int password(int argc, char **argv)
{
    const char *message = nullptr;
    for (int i = 2; i < argc; ++i) {
        if (std::strcmp(argv[i], "--message") == 0 && (message = optionValue(i, argc, argv)))
            continue;
        return usage();
    }
    char *pwd = nullptr;
    const int rc = TavikPKIUIGetPassword(nullptr, message, &pwd);
    tavik::TextPtr owner(pwd);
    std::printf("result: %d\n", rc);
    return rc == 1 ? 0 : 1;
}

int pin(int argc, char **argv)
{
    const char *module = nullptr;
    const char *token = nullptr;
    const char *message = nullptr;
    int pinType = 1;
    for (int i = 2; i < argc; ++i) {
        const char *value = nullptr;
        if (std::strcmp(argv[i], "--module") == 0 && (value = optionValue(i, argc, argv)))
            module = value;
        else if (std::strcmp(argv[i], "--token") == 0 && (value = optionValue(i, argc, argv)))
            token = value;
        else if (std::strcmp(argv[i], "--message") == 0 && (value = optionValue(i, argc, argv)))
            message = value;
        else if (std::strcmp(argv[i], "--pin-type") == 0 && (value = optionValue(i, argc, argv)))
            pinType = std::atoi(value);
        else
            return usage();
    }
    TAVIK_PKI_DEVICE_HANDLE_st *raw = nullptr;
    const int opened = TavikPKIDeviceOpen(module, token, &raw);
    if (opened != 1) {
        std::fprintf(stderr, "pkiui-demo: cannot open the token (%d)\n", opened);
        return 1;
    }
    tavik::DevicePtr device(raw);
    char *pwd = nullptr;
    const int rc = TavikPKIUIVerifyPassword(nullptr, device.get(), pinType, message, &pwd);
    tavik::TextPtr owner(pwd);
    std::printf("result: %d\n", rc);
    return rc == 1 ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        return usage();
    const std::string command = argv[1];
    int rc = 2;
    if (command == "view")
        rc = view(argc, argv);
    else if (command == "select")
        rc = select(argc, argv);
    else if (command == "password")
        rc = password(argc, argv);
    else if (command == "pin")
        rc = pin(argc, argv);
    else if (command == "--help" || command == "-h") {
        std::fputs(kUsage, stdout);
        rc = 0;
    } else
        rc = usage();
    TavikPKICertStoreClear();
    return rc;
}
