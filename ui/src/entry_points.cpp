// The exported entries: argument checks, then each dialog built and run on
// the GUI thread, its result turned into the caller's codes and memory.
#include <QWidget>

#include <array>
#include <memory>
#include <optional>
#include <cstring>
#include <exception>
#include <string_view>

#include "Tavik_PKI_Crypto_UI.h"
#include "alert.hpp"
#include "dialog_window.hpp"
#include "get_pwd_dlg.hpp"
#include "gui_thread.hpp"
#include "secret.hpp"
#include "select_cert_dlg.hpp"
#include "show_cert_info_dlg.hpp"
#include "test_seams.hpp"
#include "verify_pwd_dlg.hpp"

namespace {

using pkiui::DialogWindow;
using pkiui::TitleButtons;

struct Caption {
    std::int32_t code;
    std::string_view text;
};

// Code 11 is stored, and returned, as the hex of its UTF-8 caption
// (正在进行密钥协商); hosts that ask for it decode it themselves.
constexpr std::array kCaptions{
    Caption{1, "正在登录"},
    Caption{2, "正在产生密钥对"},
    Caption{3, "正在导入密钥对"},
    Caption{4, "正在删除密钥对"},
    Caption{5, "正在写入证书"},
    Caption{6, "正在删除证书"},
    Caption{7, "正在签名"},
    Caption{8, "正在使用私钥解密"},
    Caption{11, "E6ADA3E59CA8E8BF9BE8A18CE5AF86E992A5E58D8FE59586"},
};

// Runs task on the GUI thread; false when there is none or the task threw
// (nothing may unwind into a C caller or through Qt's event loop).
template <class Task> bool onGuiThread(Task &&task)
{
    bool completed = false;
    const bool ran = pkiui::runOnGuiThread([&] {
        try {
            task();
            completed = true;
        } catch (const std::exception &) {
        }
    });
    return ran && completed;
}

// The blocking dialogs' one sequence: a window of the given title and size
// around a new View, set up by configure, run until the view finishes; read
// takes the result from the view before window and view go.
template <class View, class Configure, class Read>
auto runBlocking(const char *name, const QString &title, QSize size, Configure configure, Read read)
{
    DialogWindow window(nullptr, title, size, TitleButtons::CloseAndMinimise);
    window.setObjectName(QString::fromLatin1(name));
    auto *view = new View(&window);
    configure(*view);
    view->setOwner(&window);
    window.setView(view);
    pkiui::runDialog(window, *view);
    return read(*view);
}

TAVIK_CERT_st *selectCert(TAVIK_CERT_st **certs, int count)
{
    return runBlocking<pkiui::SelectCertDlg>(
        "selectCertWindow", QStringLiteral("证书选择对话框"), QSize(552, 200),
        [&](auto &view) { view.setCertificateHandles(certs, count); },
        [](auto &view) {
            TAVIK_CERT_st *selected = view.selectedCertHandle();
            return selected ? TavikPKICertDupCert(selected) : nullptr;
        });
}

std::optional<QString> verifyPassword(TAVIK_PKI_DEVICE_HANDLE_st *device, int pinType,
                                      const std::optional<QString> &msg)
{
    return runBlocking<pkiui::VerifyPwdDlg>(
        "verifyPasswordWindow", QStringLiteral("密码输入对话框"), QSize(400, 180),
        [&](auto &view) {
            view.setHDevice(device);
            view.setPinType(pinType);
            view.setMsg(msg.value_or(QString()));
        },
        [](auto &view) { return view.takePwd(); });
}

std::optional<QString> getPassword(const std::optional<QString> &msg)
{
    return runBlocking<pkiui::GetPwdDlg>(
        "getPasswordWindow", QStringLiteral("密码输入对话框"), QSize(400, 120),
        [&](auto &view) { view.setMsg(msg.value_or(QString())); },
        [](auto &view) { return view.takePwd(); });
}

} // namespace

extern "C" {

TAVIK_CERT_st *TavikPKIUISelectCert(void *, void *, void *, TAVIK_CERT_st **certs, int32_t count)
{
    if (!certs || count < 0)
        return nullptr;
    TAVIK_CERT_st *result = nullptr;
    onGuiThread([&] { result = selectCert(certs, count); });
    return result;
}

int32_t TavikPKIUIVerifyPassword(void *, TAVIK_PKI_DEVICE_HANDLE_st *hDevice, int32_t pinType,
                                 const char *msg, char **pwd)
{
    if (!pwd)
        return TAVIKPKIUI_NULL_OUTPUT;
    if (!hDevice)
        return TAVIKPKIUI_NULL_DEVICE;
    std::optional<QString> password;
    const auto message = pkiui::messageFromUtf8(msg);
    if (!onGuiThread([&] { password = verifyPassword(hDevice, pinType, message); })) {
        pkiui::wipe(password);
        return TAVIKPKIUI_NO_PASSWORD;
    }
    return pkiui::storePassword(password, pkiui::AbsentPassword::NoPassword, pwd);
}

int32_t TavikPKIUIGetPassword(void *, const char *msg, char **pwd)
{
    if (!pwd)
        return TAVIKPKIUI_NULL_OUTPUT;
    std::optional<QString> password;
    const auto message = pkiui::messageFromUtf8(msg);
    if (!onGuiThread([&] { password = getPassword(message); })) {
        pkiui::wipe(password);
        return TAVIKPKIUI_NO_PASSWORD;
    }
    return pkiui::storePassword(password, pkiui::AbsentPassword::Convert, pwd);
}

int32_t TavikPKIUIDisplayCert(void *parent, TAVIK_CERT_st *cert)
{
    if (!cert)
        return -1;
    std::int32_t result = 0;
    onGuiThread([&] { result = pkiui::displayCert(static_cast<QWidget *>(parent), cert); });
    return result;
}

int32_t TavikPKIUIDisplayCRL(void *, void *, int32_t)
{
    return 0;
}

char *TavikPKIUIGetString(int32_t code)
{
    for (const Caption &caption : kCaptions) {
        if (caption.code != code)
            continue;
        const std::size_t size = caption.text.size() + 1;
        auto *text = static_cast<char *>(TavikPKICryptoAllocMemory(size));
        if (text) {
            std::memcpy(text, caption.text.data(), caption.text.size());
            text[caption.text.size()] = '\0';
        }
        return text;
    }
    return nullptr;
}

} // extern "C"
