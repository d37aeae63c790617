#include "gui_thread.hpp"

#include <QApplication>
#include <QLibraryInfo>
#include <QMetaObject>
#include <QThread>
#include <QTranslator>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "platform_probe.hpp"

namespace pkiui {

namespace {

// The QApplication the library creates for a host without Qt. Qt binds itself
// to the thread that creates it, so it gets a thread of its own that every
// entry, from any host thread, is carried to, one at a time.
//
// The application lives for one call; in between, the thread waits on our own
// queue with nothing of Qt alive. A host may then exit at any moment, with no
// exit handler to order against Qt's own, and a display that went away since
// the last call is noticed before Qt is asked to use it.
class OwnGuiThread final {
  public:
    static OwnGuiThread &instance()
    {
        // Never destroyed: the thread may still be waiting when the host exits.
        static auto *self = new OwnGuiThread;
        return *self;
    }

    bool run(const std::function<void()> &task)
    {
        std::unique_lock lock(m_mutex);
        if (!m_thread.joinable()) {
            // Decided under the lock so that our own application, while it is
            // being built, is never mistaken for the host's.
            if (QCoreApplication *core = QCoreApplication::instance()) {
                lock.unlock(); // the task may call an entry again
                return runOnHostApplication(qobject_cast<QApplication *>(core), task);
            }
            m_thread = std::thread([this] { main(); });
            m_id = m_thread.get_id();
        }
        // Asked without Qt: QThread::currentThread() would make Qt adopt the
        // host's thread, and that record is never released.
        if (std::this_thread::get_id() == m_id) {
            lock.unlock();
            task(); // a nested call, from inside a dialog
            return true;
        }
        Job job{&task};
        m_jobs.push_back(&job);
        m_changed.notify_all();
        m_changed.wait(lock, [&job] { return job.done; });
        return job.ran;
    }

  private:
    struct Job {
        const std::function<void()> *task;
        bool done = false;
        bool ran = false;
    };

    static bool runOnHostApplication(QApplication *app, const std::function<void()> &task)
    {
        if (!app)
            return false; // a QGuiApplication or QCoreApplication: no widgets
        if (QThread::currentThread() == app->thread())
            task();
        else
            QMetaObject::invokeMethod(app, task, Qt::BlockingQueuedConnection);
        return true;
    }

    [[noreturn]] void main()
    {
        for (;;) {
            Job *job = nullptr;
            {
                std::unique_lock lock(m_mutex);
                m_changed.wait(lock, [this] { return !m_jobs.empty(); });
                job = m_jobs.front();
                m_jobs.pop_front();
            }
            const bool ran = serve(*job->task);
            const std::lock_guard lock(m_mutex);
            job->done = true;
            job->ran = ran;
            m_changed.notify_all();
        }
    }

    // Runs task in an application made for it, on a platform that answers
    // now; false when there is none. The caller hears of the result only once
    // the application is gone, so that a host exiting right after never meets
    // a Qt still tearing down.
    static bool serve(const std::function<void()> &task)
    {
        std::optional<std::string> platform = reachablePlatform();
        if (!platform)
            return false;
        // QApplication keeps argc and argv for its whole life.
        std::string name = "tavikpkiui";
        std::string option = "-platform";
        int argc = 3;
        char *argv[] = {name.data(), option.data(), platform->data(), nullptr};
        QApplication app(argc, argv);
        QApplication::setQuitOnLastWindowClosed(false);
        // Qt's own texts (standard buttons, context menus) in the dialogs' language.
        QTranslator qtTexts;
        if (qtTexts.load(QStringLiteral("qtbase_zh_CN"),
                         QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
            QApplication::installTranslator(&qtTexts);
        task();
        // What the dialogs left to delete goes while the application lives.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return true;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Job *> m_jobs;
    std::thread m_thread;
    std::thread::id m_id;
};

} // namespace

bool runOnGuiThread(const std::function<void()> &task)
{
    return OwnGuiThread::instance().run(task);
}

} // namespace pkiui
