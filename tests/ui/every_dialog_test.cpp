// Every dialog of the library in each state a user meets, held to what holds
// for all of them alike (the suite also runs with a 1.5x font and with a
// scale factor of 2):
// - assistive technology finds a name on each control the focus reaches and
//   the lists' rows and cells;
// - Tab walks the controls in the order they are seen, and the keyboard alone
//   ends each dialog: the focus where typing goes, Return, Escape and the
//   window's close button;
// - all text shows whole: no widget smaller than it needs, none over another
//   or out of its parent, no list row lower than its text, and windows grown
//   to fit, never below their size.
#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAccessible>
#include <QAccessibleInterface>
#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QStyle>
#include <QTabWidget>
#include <QTableView>
#include <QTest>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <string>
#include <vector>

#include "Tavik_PKI_Crypto_UI.h"
#include "ui_test_support.hpp"

namespace {

using namespace uitest;

// A state of a dialog: from the dialog's window to the state's window, the
// window itself when there is no way to reach.
struct Stop {
    std::string where;
    std::function<QWidget *(QWidget *window)> reach = {};
};

struct Dialog {
    std::string name;
    const char *title;
    bool closeButton;    // in the window's title bar
    QSize given;         // the window's size by design
    const char *focused; // where the focus is when the dialog opens
    // What a keyboard user does before the last Return.
    std::function<void(QWidget *)> prepare;
    // Runs the entry until the dialog ends; what it returned, as text.
    std::function<std::string()> call;
    std::vector<Stop> stops;
    std::array<std::string, 3> afterKeys; // the results of Return, Escape, close
};

Stop tab(int index, const char *where)
{
    return {where, [index](QWidget *window) {
                child<QTabWidget>(window, "tabs")->setCurrentIndex(index);
                return window;
            }};
}

// OK on an empty field: the alert over the prompt, application-modal as the
// prompt is, with the one button "确定"; the prompt stays.
QWidget *emptyPasswordAlert(QWidget *window)
{
    click(window, "okButton");
    auto *box = child<QMessageBox>(window, "alertBox");
    QStringList buttons;
    for (const QAbstractButton *button : box->buttons())
        buttons << button->text();
    EXPECT_EQ(buttons, QStringList{QString::fromUtf8("确定")});
    EXPECT_TRUE(box->isVisible() && box->windowModality() == Qt::ApplicationModal);
    EXPECT_TRUE(window->isVisible());
    return box;
}

// Return on an empty field alerts as the button does and leaves the focus in
// the field, so the text typed next lands there.
void typeAfterEmptyReturn(QWidget *window)
{
    const AlertRecorder alerts;
    QTest::keyClick(window->focusWidget(), Qt::Key_Return);
    EXPECT_EQ(alerts.texts(), QStringList{QString::fromUtf8("请输入密码")});
    QTest::keyClicks(window->focusWidget(), QStringLiteral("abc"));
}

// A password prompt: Return after typing gives "1 abc", Escape and the close
// button no password.
Dialog prompt(std::string name, QSize given, std::function<int(char **)> entry,
              std::vector<Stop> stops)
{
    const std::string none = std::to_string(TAVIKPKIUI_NO_PASSWORD);
    const std::array<std::string, 3> afterKeys{"1 abc", none, none};
    const auto call = [entry] {
        char *pwd = nullptr;
        const int rc = entry(&pwd);
        const Buffer owned(rc == TAVIKPKIUI_NO_PASSWORD ? nullptr : pwd);
        return std::to_string(rc) + (rc == TAVIKPKIUI_OK ? std::string(" ") + pwd : "");
    };
    return {std::move(name), "密码输入对话框",     true, given,
            "passwordField", typeAfterEmptyReturn, call, std::move(stops),
            afterKeys};
}

class Dialogs : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(m_leaf && m_inter && m_device); }

    // The chooser, the password and PIN prompts, the viewer.
    std::vector<Dialog> dialogs()
    {
        return {
            {"chooser",
             "证书选择对话框",
             true,
             {552, 200},
             "certTableView",
             // Down twice: the first arrow selects the first row, the second the next.
             [](QWidget *window) {
                 QTest::keyClick(window->focusWidget(), Qt::Key_Down);
                 QTest::keyClick(window->focusWidget(), Qt::Key_Down);
             },
             [this] {
                 TAVIK_CERT_st *certs[] = {m_leaf.get(), m_inter.get()};
                 const tavik::CertPtr chosen(
                     TavikPKIUISelectCert(nullptr, nullptr, nullptr, certs, 2));
                 return chosen ? pkiui::test::textAttribute(chosen.get(), TAVIK_ATTR_SUBJECT_CN)
                                     .value_or("?")
                               : "null";
             },
             {{""}},
             {"Tavik Test Intermediate CA", "null", "null"}},
            prompt("password", {400, 120},
                   [](char **pwd) { return TavikPKIUIGetPassword(nullptr, "m", pwd); },
                   {{""}, {" alert", emptyPasswordAlert}}),
            prompt("pin", {400, 180},
                   [this](char **pwd) {
                       return TavikPKIUIVerifyPassword(nullptr, m_device.get(), 1, "m", pwd);
                   },
                   {{""}}),
            // Every way out of the viewer is its "确定".
            {"viewer",
             "证书",
             false,
             {400, 450},
             "tabs",
             {},
             [this] { return std::to_string(TavikPKIUIDisplayCert(nullptr, m_leaf.get())); },
             {tab(0, " general"), tab(1, " details"), tab(2, " path")},
             {"1", "1", "1"}},
        };
    }

    // Opens each dialog, calls check on each of its states while it is shown
    // (an alert's given size is empty), then closes it.
    void tour(const std::function<void(QWidget *, const std::string &, QSize)> &check)
    {
        for (const Dialog &dialog : dialogs()) {
            int checked = 0;
            const DialogScript script([&](QWidget *window) {
                for (const Stop &stop : dialog.stops) {
                    QWidget *shown = stop.reach ? stop.reach(window) : window;
                    QApplication::processEvents();
                    const bool alert = shown != window;
                    check(shown, dialog.name + stop.where, alert ? QSize() : dialog.given);
                    ++checked;
                    if (alert)
                        shown->close();
                }
                window->close();
            });
            dialog.call();
            EXPECT_EQ(checked, static_cast<int>(dialog.stops.size())) << dialog.name;
        }
    }

    const tavik::CertPtr m_leaf = loadCert("rsa-leaf.pem");
    const tavik::CertPtr m_inter = loadCert("rsa-inter.pem");
    const tavik::DevicePtr m_device = pkiui::test::openScripted(1, 3, {{1, 3}});
};

QString describe(const QObject *object)
{
    if (!object)
        return QStringLiteral("(nothing)");
    QString text = QString::fromLatin1(object->metaObject()->className()) + QLatin1Char(' ') +
                   object->objectName();
    if (const auto *widget = qobject_cast<const QWidget *>(object))
        text += QStringLiteral(" %1x%2").arg(widget->width()).arg(widget->height());
    return text;
}

// Visits the widgets' accessible nodes below node; a list's rows and cells
// are the next test's.
void walk(QAccessibleInterface *node, const std::function<void(QAccessibleInterface *)> &visit)
{
    visit(node);
    if (node->tableInterface())
        return;
    for (int i = 0; i < node->childCount(); ++i) {
        if (QAccessibleInterface *child = node->child(i))
            walk(child, visit);
    }
}

TEST_F(Dialogs, EveryControlTheFocusReachesHasAName)
{
    tour([](QWidget *window, const std::string &where, QSize) {
        QStringList unnamed;
        int named = 0;
        walk(QAccessible::queryAccessibleInterface(window), [&](QAccessibleInterface *node) {
            const QAccessible::State state = node->state();
            if (!qobject_cast<QWidget *>(node->object()) || !state.focusable || state.invisible)
                return;
            if (node->text(QAccessible::Name).trimmed().isEmpty())
                unnamed << describe(node->object());
            else
                ++named;
        });
        EXPECT_TRUE(unnamed.isEmpty()) << where << ": " << unnamed.join(", ").toStdString();
        EXPECT_GT(named, 0) << where;
    });
}

TEST_F(Dialogs, ListsExposeTheirRowsAndCells)
{
    int lists = 0;
    tour([&](QWidget *window, const std::string &where, QSize) {
        for (QTableView *view : window->findChildren<QTableView *>()) {
            if (!view->isVisible())
                continue;
            ++lists;
            const QAbstractItemModel *model = view->model();
            QAccessibleTableInterface *table =
                QAccessible::queryAccessibleInterface(view)->tableInterface();
            ASSERT_NE(table, nullptr) << where;
            ASSERT_EQ(table->rowCount(), model->rowCount()) << where;
            ASSERT_GT(table->rowCount(), 0) << where;
            ASSERT_EQ(table->columnCount(), model->columnCount()) << where;
            const int last = model->rowCount() - 1;
            for (int column = 0; column < model->columnCount(); ++column) {
                QAccessibleInterface *cell = table->cellAt(last, column);
                ASSERT_NE(cell, nullptr) << where;
                EXPECT_EQ(cell->text(QAccessible::Name),
                          model->data(model->index(last, column)).toString())
                    << where << " column " << column;
            }
        }
    });
    EXPECT_EQ(lists, 3); // chooser, details, path
}

// The controls Tab reaches, top to bottom, then leading to trailing.
std::vector<QWidget *> inVisualOrder(QWidget *window)
{
    std::vector<QWidget *> controls;
    for (QWidget *widget : window->findChildren<QWidget *>()) {
        if (widget->isVisibleTo(window) && widget->isEnabled() && !widget->isWindow() &&
            !widget->focusProxy() && (widget->focusPolicy() & Qt::TabFocus))
            controls.push_back(widget);
    }
    const auto key = [window](const QWidget *widget) {
        const QRect box(widget->mapTo(window, QPoint()), widget->size());
        return std::pair{box.center().y(), box.left()};
    };
    std::stable_sort(controls.begin(), controls.end(),
                     [&](const QWidget *a, const QWidget *b) { return key(a) < key(b); });
    return controls;
}

TEST_F(Dialogs, TabWalksTheControlsInTheOrderTheyAreSeen)
{
    tour([](QWidget *window, const std::string &where, QSize) {
        const std::vector<QWidget *> expected = inVisualOrder(window);
        ASSERT_FALSE(expected.empty()) << where;
        expected.front()->setFocus(Qt::TabFocusReason);
        QStringList walked, seen;
        for (QWidget *control : expected) {
            seen << describe(control);
            walked << describe(window->focusWidget());
            QTest::keyClick(window->focusWidget(), Qt::Key_Tab);
        }
        EXPECT_EQ(walked.join(", ").toStdString(), seen.join(", ").toStdString()) << where;
        // Round again to the first.
        EXPECT_EQ(window->focusWidget(), expected.front()) << where;
    });
}

TEST_F(Dialogs, KeysStartWhereTypingGoesAndEndEachDialogUnderItsTitle)
{
    for (const Dialog &dialog : dialogs()) {
        for (int key = 0; key < 3; ++key) {
            bool focused = false;
            const DialogScript script([&](QWidget *window) {
                const auto *named = child<QWidget>(window, dialog.focused);
                QWidget *focus = window->focusWidget();
                focused = focus && (focus == named || named->isAncestorOf(focus));
                if (key == 2) {
                    window->close();
                    return;
                }
                if (key == 0 && dialog.prepare)
                    dialog.prepare(window);
                focus = window->focusWidget();
                EXPECT_NE(focus, nullptr) << dialog.name;
                QTest::keyClick(focus ? focus : window, key == 0 ? Qt::Key_Return : Qt::Key_Escape);
            });
            EXPECT_EQ(dialog.call(), dialog.afterKeys[key]) << dialog.name << " key " << key;
            EXPECT_TRUE(focused) << dialog.name << ": the focus starts elsewhere";
            // Titled and minimisable; the viewer has no close button.
            EXPECT_EQ(script.lastTitle(), QString::fromUtf8(dialog.title)) << dialog.name;
            const Qt::WindowFlags flags = script.lastFlags();
            EXPECT_TRUE(flags.testFlag(Qt::WindowTitleHint) &&
                        flags.testFlag(Qt::WindowMinimizeButtonHint))
                << dialog.name;
            EXPECT_EQ(flags.testFlag(Qt::WindowCloseButtonHint), dialog.closeButton) << dialog.name;
        }
    }
}

// What a widget needs to show its text whole. Scrolling areas show theirs by
// scrolling; an ignored direction is the widget's own choice.
QSize needed(const QWidget *widget)
{
    if (qobject_cast<const QAbstractScrollArea *>(widget))
        return {};
    const QSizePolicy policy = widget->sizePolicy();
    const QSize hint = widget->minimumSizeHint();
    // A button's least width in some styles is a nicety; its text must fit.
    if (const auto *button = qobject_cast<const QPushButton *>(widget)) {
        const int margin = widget->style()->pixelMetric(QStyle::PM_ButtonMargin, nullptr, widget);
        return {button->fontMetrics().horizontalAdvance(button->text()) + 2 * margin,
                hint.height()};
    }
    const int width = policy.horizontalPolicy() == QSizePolicy::Ignored ? 0 : hint.width();
    int height = hint.height();
    if (widget->hasHeightForWidth())
        height = widget->heightForWidth(widget->width());
    if (policy.verticalPolicy() == QSizePolicy::Ignored)
        height = 0;
    return {width, height};
}

QStringList problemsIn(QWidget *window)
{
    QStringList problems;
    const auto shown = [window](const QObject *object) {
        const auto *widget = qobject_cast<const QWidget *>(object);
        return widget && widget->isVisibleTo(window) && !widget->isWindow() ? widget : nullptr;
    };
    for (const QWidget *widget : window->findChildren<QWidget *>()) {
        if (!shown(widget))
            continue;
        const QSize need = needed(widget);
        // A box of widgets is judged by what it holds.
        if (!widget->layout() &&
            (widget->width() < need.width() || widget->height() < need.height()))
            problems << describe(widget) +
                            QStringLiteral(" needs %1x%2").arg(need.width()).arg(need.height());
        if (!widget->parentWidget()->rect().contains(widget->geometry()))
            problems << describe(widget) + QStringLiteral(" leaves its parent");
        // Siblings our layouts place; Qt's composite widgets place their own.
        const QObjectList children = widget->layout() ? widget->children() : QObjectList();
        for (qsizetype i = 0; i < children.size(); ++i) {
            for (qsizetype j = i + 1; j < children.size(); ++j) {
                const QWidget *a = shown(children[i]), *b = shown(children[j]);
                if (a && b && a->geometry().intersects(b->geometry()))
                    problems << describe(a) + QStringLiteral(" overlaps ") + describe(b);
            }
        }
        if (const auto *list = qobject_cast<const QAbstractItemView *>(widget);
            list && list->model() && list->model()->rowCount() > 0) {
            // What the list's own delegate needs for the first row's text.
            const int need = list->sizeHintForRow(0);
            if (list->visualRect(list->model()->index(0, 0)).height() < need)
                problems << describe(widget) + QStringLiteral(" rows need %1").arg(need);
        }
    }
    return problems;
}

TEST_F(Dialogs, ShowAllTheirTextAndGrowToFit)
{
    tour([](QWidget *window, const std::string &where, QSize given) {
        const QStringList problems = problemsIn(window);
        EXPECT_TRUE(problems.isEmpty()) << where << ":\n  " << problems.join("\n  ").toStdString();
        EXPECT_TRUE(window->width() >= given.width() && window->height() >= given.height())
            << where;
    });
}

} // namespace
