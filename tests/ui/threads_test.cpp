// A Qt host calling a blocking entry from a worker thread: the dialog runs
// on the GUI thread, the answer reaches the worker.
#include <QEventLoop>
#include <QThread>
#include <QTimer>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

#include "Tavik_PKI_Crypto_UI.h"
#include "ui_test_support.hpp"

namespace {

TEST(Threads, WorkerGetsTheAnswerOfADialogRunOnTheGuiThread)
{
    QThread *guiThread = QThread::currentThread();
    QThread *dialogThread = nullptr;
    const uitest::DialogScript script([&](QWidget *window) {
        dialogThread = window->thread();
        uitest::typeText(window, QStringLiteral("from worker"));
        uitest::click(window, "okButton");
    });

    QEventLoop loop;
    std::atomic<int> result{-100};
    char *pwd = nullptr;
    std::thread worker([&] {
        result = TavikPKIUIGetPassword(nullptr, "msg", &pwd);
        QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    });
    QTimer::singleShot(10000, &loop, &QEventLoop::quit);
    loop.exec();
    worker.join();

    EXPECT_EQ(result.load(), TAVIKPKIUI_OK);
    ASSERT_NE(pwd, nullptr);
    EXPECT_STREQ(pwd, "from worker");
    TavikPKICryptoFreeMemory(pwd);
    EXPECT_EQ(dialogThread, guiThread);
}

// GetString and DisplayCRL touch no widgets and work on any thread.
TEST(Threads, CaptionsNeedNoGuiThread)
{
    char *text = nullptr;
    std::thread worker([&] { text = TavikPKIUIGetString(7); });
    worker.join();
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::strlen(text), 12u);
    TavikPKICryptoFreeMemory(text);
}

} // namespace
