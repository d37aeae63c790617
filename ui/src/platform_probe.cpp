#include "platform_probe.hpp"

#include <QDir>
#include <QLibraryInfo>
#include <QStringList>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string_view>
#include <thread>

namespace pkiui {

namespace {

std::string_view env(const char *name)
{
    const char *value = std::getenv(name);
    return value ? value : "";
}

// A remote X server that does not answer can hold a connect for minutes.
constexpr auto kConnectTimeout = std::chrono::seconds(5);
constexpr auto kRetryDelay = std::chrono::milliseconds(100);

// The last connection that answered stays open until the next one has: an X
// server with no client left resets itself, and one that resets between the
// probe and Qt's own connection, or between two calls, refuses Qt.
class HeldConnection {
  public:
    void replace(xcb_connection_t *connection)
    {
        const std::lock_guard lock(m_mutex);
        if (m_connection)
            xcb_disconnect(m_connection);
        m_connection = connection;
    }

  private:
    std::mutex m_mutex;
    xcb_connection_t *m_connection = nullptr;
};

// Opens a connection to the X server named by DISPLAY, authorisation
// included; gives up after kConnectTimeout, leaving the attempt to finish and
// close alone.
bool xServerAnswers()
{
    if (env("DISPLAY").empty())
        return false;
    struct Attempt {
        std::mutex mutex;
        std::condition_variable done;
        bool finished = false;
        bool abandoned = false;
        xcb_connection_t *connection = nullptr;
    };
    auto attempt = std::make_shared<Attempt>();
    std::thread([attempt] {
        // A server resetting after its last client left refuses for a moment:
        // two more tries, with a pause before each, not after the last.
        xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
        for (int retries = 2; xcb_connection_has_error(connection) != 0; --retries) {
            xcb_disconnect(connection);
            connection = nullptr;
            if (retries == 0)
                break;
            std::this_thread::sleep_for(kRetryDelay);
            connection = xcb_connect(nullptr, nullptr);
        }
        const std::lock_guard lock(attempt->mutex);
        if (attempt->abandoned && connection)
            xcb_disconnect(connection);
        else
            attempt->connection = connection;
        attempt->finished = true;
        attempt->done.notify_all();
    }).detach();
    std::unique_lock lock(attempt->mutex);
    if (!attempt->done.wait_for(lock, kConnectTimeout, [&] { return attempt->finished; })) {
        attempt->abandoned = true;
        return false;
    }
    if (!attempt->connection)
        return false;
    // Never destroyed: a host may exit while another thread still asks.
    static auto *held = new HeldConnection;
    held->replace(attempt->connection);
    return true;
}

// Connects to the compositor's socket: WAYLAND_DISPLAY is a path, or a name
// in XDG_RUNTIME_DIR.
bool waylandAnswers()
{
    const std::string_view display = env("WAYLAND_DISPLAY");
    if (display.empty())
        return false;
    std::string path(display);
    if (display.front() != '/') {
        const std::string_view runtime = env("XDG_RUNTIME_DIR");
        if (runtime.empty())
            return false;
        path = std::string(runtime) + '/' + path;
    }
    sockaddr_un address{};
    if (path.size() >= sizeof address.sun_path)
        return false;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return false;
    const bool ok =
        ::connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    ::close(fd);
    return ok;
}

bool always()
{
    return true;
}

struct Platform {
    std::string_view name;
    std::string_view plugin; // file name in a plugins/platforms folder
    bool (*answers)();
    bool onScreen; // a person sees its windows
};

constexpr std::array kPlatforms{
    Platform{"wayland", "libqwayland-generic.so", waylandAnswers, true},
    Platform{"xcb", "libqxcb.so", xServerAnswers, true},
    Platform{"offscreen", "libqoffscreen.so", always, false},
    Platform{"minimal", "libqminimal.so", always, false},
};

// The record of a QT_QPA_PLATFORM entry ("name" or "name:options").
const Platform *platformOf(std::string_view entry)
{
    const std::string_view name = entry.substr(0, entry.find(':'));
    for (const Platform &platform : kPlatforms) {
        if (platform.name == name)
            return &platform;
    }
    return nullptr;
}

// Where Qt looks for plugins: QT_PLUGIN_PATH first, then its own folder.
bool pluginInstalled(std::string_view file)
{
    QStringList folders = QString::fromLocal8Bit(std::getenv("QT_PLUGIN_PATH"))
                              .split(QLatin1Char(':'), Qt::SkipEmptyParts);
    folders << QLibraryInfo::path(QLibraryInfo::PluginsPath);
    const QString name = QStringLiteral("platforms/") +
                         QString::fromLatin1(file.data(), static_cast<qsizetype>(file.size()));
    for (const QString &folder : folders) {
        if (QDir(folder).exists(name))
            return true;
    }
    return false;
}

bool usable(std::string_view entry)
{
    const Platform *platform = platformOf(entry);
    return platform && pluginInstalled(platform->plugin) && platform->answers();
}

} // namespace

bool showsWindows(std::string_view platform)
{
    const Platform *known = platformOf(platform);
    return known && known->onScreen;
}

std::optional<std::string> reachablePlatform()
{
    std::string_view list = env("QT_QPA_PLATFORM");
    if (list.empty())
        list = "wayland;xcb";
    while (!list.empty()) {
        const std::size_t end = list.find(';');
        const std::string_view entry = list.substr(0, end);
        if (usable(entry))
            return std::string(entry);
        list = end == std::string_view::npos ? std::string_view() : list.substr(end + 1);
    }
    return std::nullopt;
}

} // namespace pkiui
