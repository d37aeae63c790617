// Every dialog shows all of its text at the user's font size and scale (the
// suite also runs with a 1.5x font and with a scale factor of 2): no widget
// smaller than it needs, none over another or out of its parent, no list row
// lower than its text, and windows grown to fit, never below their size.
#include <QAbstractItemView>
#include <QAbstractScrollArea>
#include <QPushButton>
#include <QStyle>
#include <gtest/gtest.h>

#include "dialog_tour.hpp"

namespace {

QString describe(const QWidget *widget)
{
    return QString::fromLatin1(widget->metaObject()->className()) + QLatin1Char(' ') +
           widget->objectName() +
           QStringLiteral(" %1x%2").arg(widget->width()).arg(widget->height());
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

TEST(Geometry, EveryDialogShowsAllItsTextAndGrowsToFit)
{
    uitest::tourDialogs([](const uitest::Surface &surface) {
        const QStringList problems = problemsIn(surface.window);
        EXPECT_TRUE(problems.isEmpty())
            << surface.where << ":\n  " << problems.join("\n  ").toStdString();
        EXPECT_TRUE(surface.window->width() >= surface.given.width() &&
                    surface.window->height() >= surface.given.height())
            << surface.where;
    });
}

} // namespace
