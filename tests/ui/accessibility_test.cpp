// What assistive technology and keyboard users meet in every dialog: a name
// on each control they can reach, lists that expose their rows and cells, and
// Tab walking the controls in the order they are seen.
#include <QAccessible>
#include <QAccessibleInterface>
#include <QApplication>
#include <QTableView>
#include <QTest>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

#include "dialog_tour.hpp"
#include "ui_test_support.hpp"

namespace {

QString describe(const QObject *object)
{
    if (!object)
        return QStringLiteral("(nothing)");
    return QString::fromLatin1(object->metaObject()->className()) + QLatin1Char(' ') +
           object->objectName();
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

TEST(Accessibility, EveryControlTheFocusReachesHasAName)
{
    uitest::tourDialogs([](const uitest::Surface &surface) {
        QStringList unnamed;
        int named = 0;
        walk(
            QAccessible::queryAccessibleInterface(surface.window), [&](QAccessibleInterface *node) {
                const QAccessible::State state = node->state();
                if (!qobject_cast<QWidget *>(node->object()) || !state.focusable || state.invisible)
                    return;
                if (node->text(QAccessible::Name).trimmed().isEmpty())
                    unnamed << describe(node->object());
                else
                    ++named;
            });
        EXPECT_TRUE(unnamed.isEmpty()) << surface.where << ": " << unnamed.join(", ").toStdString();
        EXPECT_GT(named, 0) << surface.where;
    });
}

TEST(Accessibility, ListsExposeTheirRowsAndCells)
{
    int lists = 0;
    uitest::tourDialogs([&](const uitest::Surface &surface) {
        for (QTableView *view : surface.window->findChildren<QTableView *>()) {
            if (!view->isVisible())
                continue;
            ++lists;
            const QAbstractItemModel *model = view->model();
            QAccessibleTableInterface *table =
                QAccessible::queryAccessibleInterface(view)->tableInterface();
            ASSERT_NE(table, nullptr) << surface.where;
            ASSERT_EQ(table->rowCount(), model->rowCount()) << surface.where;
            ASSERT_GT(table->rowCount(), 0) << surface.where;
            ASSERT_EQ(table->columnCount(), model->columnCount()) << surface.where;
            const int last = model->rowCount() - 1;
            for (int column = 0; column < model->columnCount(); ++column) {
                QAccessibleInterface *cell = table->cellAt(last, column);
                ASSERT_NE(cell, nullptr) << surface.where;
                EXPECT_EQ(cell->text(QAccessible::Name),
                          model->data(model->index(last, column)).toString())
                    << surface.where << " column " << column;
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

TEST(Keyboard, TabWalksTheControlsInTheOrderTheyAreSeen)
{
    uitest::tourDialogs([](const uitest::Surface &surface) {
        const std::vector<QWidget *> expected = inVisualOrder(surface.window);
        ASSERT_FALSE(expected.empty()) << surface.where;
        expected.front()->setFocus(Qt::TabFocusReason);
        QStringList walked, seen;
        for (QWidget *control : expected) {
            seen << describe(control);
            walked << describe(surface.window->focusWidget());
            QTest::keyClick(surface.window->focusWidget(), Qt::Key_Tab);
        }
        EXPECT_EQ(walked.join(", ").toStdString(), seen.join(", ").toStdString()) << surface.where;
        // Round again to the first.
        EXPECT_EQ(surface.window->focusWidget(), expected.front()) << surface.where;
    });
}

} // namespace
