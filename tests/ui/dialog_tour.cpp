#include "dialog_tour.hpp"

#include <QApplication>
#include <QMessageBox>
#include <QTabWidget>
#include <gtest/gtest.h>

#include <vector>

#include "Tavik_PKI_Crypto_UI.h"
#include "ui_test_support.hpp"

namespace uitest {

namespace {

struct Stop {
    std::string where;
    // From the dialog's window to the state's; null when it cannot be reached.
    std::function<QWidget *(QWidget *window)> reach;
};

struct Dialog {
    std::string name;
    QSize given;
    std::function<void()> open; // runs the entry until the tour closes the dialog
    std::vector<Stop> stops;
};

QWidget *itself(QWidget *window)
{
    return window;
}

Stop tab(int index, const char *where)
{
    return {where, [index](QWidget *window) {
                child<QTabWidget>(window, "tabs")->setCurrentIndex(index);
                return window;
            }};
}

// OK on an empty field: the alert over the prompt.
QWidget *emptyPasswordAlert(QWidget *window)
{
    click(window, "okButton");
    return child<QMessageBox>(window, "alertBox");
}

} // namespace

void tourDialogs(const std::function<void(const Surface &)> &check)
{
    const tavik::CertPtr leaf = loadCert("rsa-leaf.pem");
    const tavik::CertPtr inter = loadCert("rsa-inter.pem");
    const tavik::DevicePtr device = pkiui::test::openScripted(1, 3, {});
    ASSERT_TRUE(leaf && inter && device);
    const auto password = [] {
        char *pwd = nullptr;
        const Buffer owned(TavikPKIUIGetPassword(nullptr, nullptr, &pwd) == 1 ? pwd : nullptr);
    };
    const std::vector<Dialog> dialogs{
        {"chooser",
         {552, 200},
         [&] {
             TAVIK_CERT_st *certs[] = {leaf.get(), inter.get()};
             const tavik::CertPtr chosen(TavikPKIUISelectCert(nullptr, nullptr, nullptr, certs, 2));
         },
         {{"", itself}}},
        {"password", {400, 120}, password, {{"", itself}, {" alert", emptyPasswordAlert}}},
        {"pin",
         {400, 180},
         [&] {
             char *pwd = nullptr;
             const Buffer owned(
                 TavikPKIUIVerifyPassword(nullptr, device.get(), 1, nullptr, &pwd) == 1 ? pwd
                                                                                        : nullptr);
         },
         {{"", itself}}},
        {"viewer",
         {400, 450},
         [&] { TavikPKIUIDisplayCert(nullptr, leaf.get()); },
         {tab(0, " general"), tab(1, " details"), tab(2, " path")}},
    };
    for (const Dialog &dialog : dialogs) {
        int checked = 0;
        const DialogScript script([&](QWidget *window) {
            for (const Stop &stop : dialog.stops) {
                QWidget *shown = stop.reach(window);
                QApplication::processEvents();
                const bool alert = shown != window;
                check({shown, dialog.name + stop.where, alert ? QSize() : dialog.given});
                ++checked;
                if (alert)
                    shown->close();
            }
            window->close();
        });
        dialog.open();
        EXPECT_EQ(checked, static_cast<int>(dialog.stops.size())) << dialog.name;
    }
}

} // namespace uitest
