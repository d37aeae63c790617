// What the dialogs pay per certificate: loading, the attributes a list row
// shows, and building a path.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "bench_fixtures.hpp"
#include "tavik_ptr.hpp"

namespace {

using pkiui::bench::handleOf;
using pkiui::bench::readFixture;

void LoadDer(benchmark::State &state)
{
    const auto der = readFixture("rsa-leaf.der");
    for (auto _ : state)
        benchmark::DoNotOptimize(handleOf(der));
}
BENCHMARK(LoadDer);

void DupCert(benchmark::State &state)
{
    const auto cert = handleOf(readFixture("rsa-leaf.der"));
    for (auto _ : state)
        tavik::CertPtr dup(TavikPKICertDupCert(cert.get()));
}
BENCHMARK(DupCert);

// The six texts and integers of one selection-list row.
void RowAttributes(benchmark::State &state)
{
    const auto cert = handleOf(readFixture("rsa-leaf.der"));
    for (auto _ : state) {
        for (int code : {TAVIK_ATTR_SUBJECT_CN, TAVIK_ATTR_ISSUER_NAME, TAVIK_ATTR_NOT_AFTER}) {
            char *text = nullptr;
            if (TavikPKICertGetCertStringAttribute(cert.get(), code, &text) == 1)
                TavikPKICryptoFreeMemory(text);
        }
        for (int code : {TAVIK_ATTR_KEY_ALGORITHM, TAVIK_ATTR_CURVE, TAVIK_ATTR_KEY_USAGE}) {
            int64_t value = 0;
            benchmark::DoNotOptimize(TavikPKICertGetCertIntegerAttribute(cert.get(), code, &value));
        }
    }
}
BENCHMARK(RowAttributes);

void BuildPath(benchmark::State &state)
{
    TavikPKICertStoreUseSystemAnchors(0);
    TavikPKICertStoreClear();
    TavikPKICertStoreAddTrustedFile((std::string(PKIUI_FIXTURES) + "/rsa-root.pem").c_str());
    TavikPKICertStoreAddIntermediateFile((std::string(PKIUI_FIXTURES) + "/rsa-inter.pem").c_str());
    const auto cert = handleOf(readFixture("rsa-leaf.der"));
    for (auto _ : state) {
        tavik::CertPath path;
        benchmark::DoNotOptimize(
            TavikPKICertGetCertPath(cert.get(), path.outCerts(), path.outCount()));
    }
    TavikPKICertStoreClear();
}
BENCHMARK(BuildPath);

} // namespace

BENCHMARK_MAIN();
