#include "gui_thread.hpp"

#include <QApplication>
#include <QLibraryInfo>
#include <QMetaObject>
#include <QThread>
#include <QTranslator>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

#include "platform_probe.hpp"

namespace pkiui {

namespace {

// The QApplication the library creates for a host without Qt. Qt binds itself
// to the thread that creates it, so it gets a thread of its own that every
// entry, from any host thread, is carried to, one at a time.
//
// Between calls that thread waits on our own queue, outside Qt. A host may then
// exit at any moment: Qt's globals are destroyed while no Qt code of ours runs,
// just as in a Qt program that calls exit(), and nothing has to be registered
// to run at exit in an order that Qt's own lazily made globals would upset.
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
        if (m_state == State::NotStarted) {
            // Decided under the lock so that our own application, while it is
            // being built, is never mistaken for the host's.
            if (QCoreApplication *core = QCoreApplication::instance()) {
                lock.unlock(); // the task may call an entry again
                return runOnHostApplication(qobject_cast<QApplication *>(core), task);
            }
            std::optional<std::string> platform = reachablePlatform();
            if (!platform)
                return false;
            m_state = State::Starting;
            m_thread = std::thread([this, name = std::move(*platform)]() mutable { main(name); });
            m_id = m_thread.get_id();
        }
        m_changed.wait(lock, [this] { return m_state != State::Starting; });
        if (m_state != State::Running)
            return false;
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
        return true;
    }

    void stop()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_state != State::Starting; });
        if (!m_thread.joinable() || std::this_thread::get_id() == m_id)
            return;
        m_stopping = true;
        m_changed.notify_all();
        lock.unlock();
        m_thread.join();
    }

  private:
    enum class State { NotStarted, Starting, Running, Stopped };
    struct Job {
        const std::function<void()> *task;
        bool done = false;
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

    void main(std::string platform)
    {
        // QApplication keeps argc and argv for its whole life.
        std::string name = "tavikpkiui";
        std::string option = "-platform";
        int argc = 3;
        char *argv[] = {name.data(), option.data(), platform.data(), nullptr};
        QApplication app(argc, argv);
        QApplication::setQuitOnLastWindowClosed(false);
        // Qt's own texts (standard buttons, context menus) in the dialogs' language.
        QTranslator qtTexts;
        if (qtTexts.load(QStringLiteral("qtbase_zh_CN"),
                         QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
            QApplication::installTranslator(&qtTexts);

        std::unique_lock lock(m_mutex);
        m_state = State::Running;
        m_changed.notify_all();
        for (;;) {
            m_changed.wait(lock, [this] { return m_stopping || !m_jobs.empty(); });
            if (m_jobs.empty())
                break;
            Job *job = m_jobs.front();
            m_jobs.pop_front();
            lock.unlock();
            (*job->task)();
            // What the dialogs left to delete goes now, not at the next call.
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            lock.lock();
            job->done = true;
            m_changed.notify_all();
        }
        m_state = State::Stopped;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    State m_state = State::NotStarted;
    bool m_stopping = false;
    std::deque<Job *> m_jobs;
    std::thread m_thread;
    std::thread::id m_id;
};

} // namespace

bool runOnGuiThread(const std::function<void()> &task)
{
    return OwnGuiThread::instance().run(task);
}

void stopOwnGuiThread()
{
    OwnGuiThread::instance().stop();
}

} // namespace pkiui
