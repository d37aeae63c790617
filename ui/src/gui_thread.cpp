#include "gui_thread.hpp"

#include <QApplication>
#include <QMetaObject>
#include <QThread>

#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace pkiui {

bool displayConfigured()
{
    for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        const char *value = std::getenv(name);
        if (value && *value)
            return true;
    }
    return false;
}

namespace {

// The QApplication the library creates for a host without Qt. Qt binds itself
// to the thread that creates it, so it gets a thread of its own that every
// entry, from any host thread, is carried to.
class OwnGuiThread final {
  public:
    static OwnGuiThread &instance()
    {
        static OwnGuiThread self;
        return self;
    }

    // The object to queue calls on: the host's QApplication, ours (started on
    // first use), or null when there can be none.
    QObject *target(bool *own, bool *onGuiThread)
    {
        std::unique_lock lock(m_mutex);
        *own = false;
        if (m_state == State::NotStarted) {
            // Decided under the lock so that our own application, while it is
            // being built, is never mistaken for the host's.
            if (QCoreApplication *core = QCoreApplication::instance()) {
                *onGuiThread = QThread::currentThread() == core->thread();
                return qobject_cast<QApplication *>(core);
            }
            if (!displayConfigured())
                return nullptr;
            m_state = State::Starting;
            m_thread = std::thread([this] { run(); });
        }
        m_ready.wait(lock, [this] { return m_state != State::Starting; });
        *own = m_state == State::Running;
        // Asked without Qt: QThread::currentThread() would make Qt adopt the
        // host's thread, and that record is never released.
        *onGuiThread = std::this_thread::get_id() == m_thread.get_id();
        return m_state == State::Running ? m_app : nullptr;
    }

    void stop()
    {
        std::unique_lock lock(m_mutex);
        m_ready.wait(lock, [this] { return m_state != State::Starting; });
        if (!m_thread.joinable())
            return;
        if (std::this_thread::get_id() == m_thread.get_id()) {
            // exit() called from inside a dialog: the thread cannot join itself.
            m_thread.detach();
            return;
        }
        if (m_state == State::Running)
            QMetaObject::invokeMethod(
                m_app, [] { QCoreApplication::exit(0); }, Qt::QueuedConnection);
        lock.unlock();
        m_thread.join();
    }

  private:
    enum class State { NotStarted, Starting, Running, Stopped };

    void run()
    {
        static int argc = 1;
        static char name[] = "tavikpkiui";
        static char *argv[] = {name, nullptr};
        QApplication app(argc, argv);
        QApplication::setQuitOnLastWindowClosed(false);
        {
            const std::lock_guard lock(m_mutex);
            m_app = &app;
            m_state = State::Running;
        }
        m_ready.notify_all();
        QApplication::exec();
        const std::lock_guard lock(m_mutex);
        m_app = nullptr;
        m_state = State::Stopped;
    }

    std::mutex m_mutex;
    std::condition_variable m_ready;
    State m_state = State::NotStarted;
    std::thread m_thread;
    QApplication *m_app = nullptr;
};

void stopAtExit()
{
    OwnGuiThread::instance().stop();
}

} // namespace

void stopOwnGuiThread()
{
    stopAtExit();
}

bool runOnGuiThread(const std::function<void()> &task)
{
    bool own = false;
    bool onGuiThread = false;
    QObject *target = OwnGuiThread::instance().target(&own, &onGuiThread);
    if (!target)
        return false;
    if (onGuiThread)
        task();
    else
        QMetaObject::invokeMethod(target, task, Qt::BlockingQueuedConnection);
    if (own) {
        // Exit handlers run in reverse order of registration, and Qt registers
        // its globals lazily, also while a dialog runs. Registering again after
        // each call keeps our stop ahead of every Qt global made so far, so the
        // thread is joined before anything it uses is destroyed.
        std::atexit(stopAtExit);
    }
    return true;
}

} // namespace pkiui
