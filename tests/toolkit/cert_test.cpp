#include <gtest/gtest.h>

#include "tavik_ptr.hpp"

namespace {

TEST(CertLoad, NullInputsFail)
{
    TAVIK_CERT_st *cert = nullptr;
    EXPECT_NE(TavikPKICertNewFromData(nullptr, 10, &cert), 1);
    EXPECT_NE(TavikPKICertNewFromFile(nullptr, &cert), 1);
    EXPECT_EQ(cert, nullptr);
}

} // namespace
