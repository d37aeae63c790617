// Driving the dialogs from tests: a QApplication on the test's main thread,
// scripts run inside a dialog's event loop, and recorded alerts.
#pragma once

#include <QString>
#include <QStringList>
#include <QWidget>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "Tavik_PKI_Crypto_UI.h"
#include "fixtures.hpp"

class QTableView;

namespace uitest {

using pkiui::test::loadCert;

// A buffer an entry handed out.
using Buffer = std::unique_ptr<char, tavik::Free<TavikPKICryptoFreeMemory>>;

// Runs script(window) once each dialog window has been shown and its event
// loop is running. Removed when the object goes.
class DialogScript {
  public:
    explicit DialogScript(std::function<void(QWidget *window)> script);
    ~DialogScript();
    DialogScript(const DialogScript &) = delete;
    DialogScript &operator=(const DialogScript &) = delete;

    int dialogsShown() const { return m_shown; }
    QString lastTitle() const { return m_title; }
    QSize lastSize() const { return m_size; }
    Qt::WindowFlags lastFlags() const { return m_flags; }

  private:
    int m_shown = 0;
    QString m_title;
    QSize m_size;
    Qt::WindowFlags m_flags;
};

// Records alert texts instead of showing boxes, while it lives.
class AlertRecorder {
  public:
    AlertRecorder();
    ~AlertRecorder();
    AlertRecorder(const AlertRecorder &) = delete;
    AlertRecorder &operator=(const AlertRecorder &) = delete;

    QStringList texts() const { return m_texts; }
    QWidget *lastOwner() const { return m_owner; }

  private:
    QStringList m_texts;
    QWidget *m_owner = nullptr;
};

// Finds a named child or fails the current test.
template <class T> T *child(QWidget *window, const char *name)
{
    T *found = window->findChild<T *>(QString::fromLatin1(name));
    if (!found)
        throw std::runtime_error(std::string("no child named ") + name);
    return found;
}

void typeText(QWidget *window, const QString &text);
void click(QWidget *window, const char *button);
// Clicks the first cell of a row.
void clickRow(QTableView *table, int row);

} // namespace uitest
