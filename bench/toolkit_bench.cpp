// What the dialogs pay per certificate: loading, the attributes a list row
// shows, and building a path.
#include <benchmark/benchmark.h>

#include <openssl/x509.h>

#include <malloc.h>

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

// What a host with a large store does before the chooser opens: 10,000
// handles from DER, held at once; against as many d2i_X509 calls. The heap
// each certificate holds is reported as bytes_per_cert.
constexpr int kStoreSize = 10000;

template <class Load> void LoadMany(benchmark::State &state, Load load)
{
    const auto der = readFixture("rsa-leaf.der");
    long perCert = 0;
    for (auto _ : state) {
        const std::size_t before = mallinfo2().uordblks;
        auto held = load(der);
        perCert = static_cast<long>((mallinfo2().uordblks - before) / kStoreSize);
        state.PauseTiming();
        held.clear();
        state.ResumeTiming();
    }
    state.counters["bytes_per_cert"] = static_cast<double>(perCert);
}

void Load10000Handles(benchmark::State &state)
{
    LoadMany(state, [](const std::vector<unsigned char> &der) {
        std::vector<tavik::CertPtr> held;
        held.reserve(kStoreSize);
        for (int i = 0; i < kStoreSize; ++i)
            held.push_back(handleOf(der));
        return held;
    });
}
BENCHMARK(Load10000Handles)->Unit(benchmark::kMillisecond);

using X509Ptr = std::unique_ptr<X509, tavik::Free<X509_free>>;

void Load10000D2iX509(benchmark::State &state)
{
    LoadMany(state, [](const std::vector<unsigned char> &der) {
        std::vector<X509Ptr> held;
        held.reserve(kStoreSize);
        for (int i = 0; i < kStoreSize; ++i) {
            const unsigned char *p = der.data();
            held.emplace_back(d2i_X509(nullptr, &p, static_cast<long>(der.size())));
        }
        return held;
    });
}
BENCHMARK(Load10000D2iX509)->Unit(benchmark::kMillisecond);

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
