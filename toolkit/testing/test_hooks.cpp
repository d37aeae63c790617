// The test hooks, built only into the tests' variant of the toolkit: a device
// that answers from a script, for the counts and locking that no token on the
// test machines produces, a pinned clock, and the live-object count.
#include <mutex>
#include <vector>

#include "device.hpp"
#include "internal.hpp"
#include "tavik_debug.h"

namespace tavik::detail {
namespace {

class ScriptedDevice final : public Device {
  public:
    ScriptedDevice(int retryStatus, int retryCount, const TavikPKIScriptedAnswer *answers,
                   int count)
        : m_status(retryStatus), m_count(retryCount), m_answers(answers, answers + count)
    {
    }

    int retryCount(int, int *count) override
    {
        std::lock_guard lock(m_mutex);
        if (m_status == 1)
            *count = m_count;
        return m_status;
    }

    int verify(int, const char *, int *retry) override
    {
        std::lock_guard lock(m_mutex);
        ++m_calls;
        if (m_answers.empty())
            return TAVIK_ERR_DEVICE;
        const TavikPKIScriptedAnswer &answer = m_answers[m_next];
        if (m_next + 1 < m_answers.size())
            ++m_next;
        *retry = answer.retry;
        if (answer.retry >= 0)
            m_count = answer.retry;
        return answer.result;
    }

    int verifyCalls() const override
    {
        std::lock_guard lock(m_mutex);
        return m_calls;
    }

  private:
    mutable std::mutex m_mutex;
    const int m_status;
    int m_count;
    const std::vector<TavikPKIScriptedAnswer> m_answers;
    std::size_t m_next = 0;
    int m_calls = 0;
};

} // namespace
} // namespace tavik::detail

extern "C" {

int TavikPKIDeviceOpenScripted(int retryStatus, int retryCount,
                               const TavikPKIScriptedAnswer *answers, int count,
                               TAVIK_PKI_DEVICE_HANDLE_st **device)
{
    if (!device || count < 0 || (count > 0 && !answers))
        return TAVIK_ERR_ARGUMENT;
    return tavik::detail::guard<int>(TAVIK_ERR_MEMORY, [&] {
        return tavik::detail::adoptDevice(std::make_unique<tavik::detail::ScriptedDevice>(
                                              retryStatus, retryCount, answers, count),
                                          device);
    });
}

int TavikPKIDeviceScriptedVerifyCalls(const TAVIK_PKI_DEVICE_HANDLE_st *device)
{
    return device ? device->device->verifyCalls() : -1;
}

void tavik_debug_set_now(int64_t epoch_seconds)
{
    tavik::detail::pinNow(epoch_seconds);
}

long tavik_debug_live_objects(void)
{
    return tavik::detail::liveCount();
}

} // extern "C"
