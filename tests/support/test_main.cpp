#include <gtest/gtest.h>

#include "tavik_debug.h"

namespace {

// Fails the test that leaves toolkit objects behind. End events run in
// reverse order of registration, so this runs before the result is printed.
class LiveObjectCheck final : public ::testing::EmptyTestEventListener {
    void OnTestStart(const ::testing::TestInfo &) override
    {
        m_before = tavik_debug_live_objects();
    }
    void OnTestEnd(const ::testing::TestInfo &) override
    {
        EXPECT_EQ(tavik_debug_live_objects(), m_before) << "toolkit objects left behind";
    }
    long m_before = 0;
};

} // namespace

int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::UnitTest::GetInstance()->listeners().Append(new LiveObjectCheck);
    return RUN_ALL_TESTS();
}
