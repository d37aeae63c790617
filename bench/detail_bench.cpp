// What the detail tab pays per certificate against OpenSSL doing the like:
// a handle from DER against d2i_X509, and the rows against X509_print_ex.
#include <benchmark/benchmark.h>

#include <openssl/bio.h>
#include <openssl/x509.h>

#include <memory>
#include <string>
#include <vector>

#include "pkiui/detail_model.hpp"
#include "bench_fixtures.hpp"
#include "tavik_ptr.hpp"

namespace {

using pkiui::bench::handleOf;
using pkiui::bench::readFixture;

using X509Ptr = std::unique_ptr<X509, tavik::Free<X509_free>>;
using BioPtr = std::unique_ptr<BIO, tavik::Free<BIO_free>>;

X509Ptr x509Of(const std::vector<unsigned char> &der)
{
    const unsigned char *p = der.data();
    return X509Ptr(d2i_X509(nullptr, &p, static_cast<long>(der.size())));
}

void HandleFromDer(benchmark::State &state, const char *fixture)
{
    const auto der = readFixture(fixture);
    if (!handleOf(der))
        return state.SkipWithError("fixture does not load");
    for (auto _ : state)
        benchmark::DoNotOptimize(handleOf(der));
}

void D2iX509(benchmark::State &state, const char *fixture)
{
    const auto der = readFixture(fixture);
    if (!x509Of(der))
        return state.SkipWithError("fixture does not load");
    for (auto _ : state)
        benchmark::DoNotOptimize(x509Of(der));
}

// Every row of the detail list; a model serves one certificate, so each
// iteration makes its own.
void Rows(benchmark::State &state, const char *fixture)
{
    const tavik::CertPtr cert = handleOf(readFixture(fixture));
    if (!cert)
        return state.SkipWithError("fixture does not load");
    int rows = 0;
    for (auto _ : state) {
        pkiui::ShowCertDetailDlgModel model;
        benchmark::DoNotOptimize(model.setCertHandle(cert.get()));
        rows = model.numberOfRows();
    }
    state.counters["rows"] = rows;
}

// OpenSSL's whole text form into memory: its nearest counterpart.
void X509Print(benchmark::State &state, const char *fixture)
{
    const X509Ptr x509 = x509Of(readFixture(fixture));
    if (!x509)
        return state.SkipWithError("fixture does not load");
    long bytes = 0;
    for (auto _ : state) {
        const BioPtr bio(BIO_new(BIO_s_mem()));
        X509_print_ex(bio.get(), x509.get(), XN_FLAG_COMPAT, X509_FLAG_COMPAT);
        bytes = BIO_number_written(bio.get());
    }
    state.counters["bytes"] = static_cast<double>(bytes);
}

// A handle from DER and every row, against OpenSSL reading the certificate
// and printing it: the whole of what opening the detail tab costs.
void HandleAndRows(benchmark::State &state, const char *fixture)
{
    const auto der = readFixture(fixture);
    if (!handleOf(der))
        return state.SkipWithError("fixture does not load");
    for (auto _ : state) {
        const tavik::CertPtr cert = handleOf(der);
        pkiui::ShowCertDetailDlgModel model;
        benchmark::DoNotOptimize(model.setCertHandle(cert.get()));
    }
}

void D2iAndPrint(benchmark::State &state, const char *fixture)
{
    const auto der = readFixture(fixture);
    if (!x509Of(der))
        return state.SkipWithError("fixture does not load");
    for (auto _ : state) {
        const X509Ptr x509 = x509Of(der);
        const BioPtr bio(BIO_new(BIO_s_mem()));
        X509_print_ex(bio.get(), x509.get(), XN_FLAG_COMPAT, X509_FLAG_COMPAT);
    }
}

BENCHMARK_CAPTURE(HandleAndRows, rsa_leaf, "rsa-leaf.der")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(D2iAndPrint, rsa_leaf, "rsa-leaf.der")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(HandleAndRows, ec_leaf, "ec-leaf.der")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(D2iAndPrint, ec_leaf, "ec-leaf.der")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(HandleAndRows, ext_std, "ext-std.der")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(D2iAndPrint, ext_std, "ext-std.der")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(HandleFromDer, rsa_leaf, "rsa-leaf.der")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(HandleFromDer, ec_leaf, "ec-leaf.der")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(D2iX509, rsa_leaf, "rsa-leaf.der")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(D2iX509, ec_leaf, "ec-leaf.der")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Rows, rsa_leaf, "rsa-leaf.der")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Rows, ec_leaf, "ec-leaf.der")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(X509Print, rsa_leaf, "rsa-leaf.der")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(X509Print, ec_leaf, "ec-leaf.der")->Unit(benchmark::kMicrosecond);
// Every standard extension, each through its own decoder.
BENCHMARK_CAPTURE(Rows, ext_std, "ext-std.der")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(X509Print, ext_std, "ext-std.der")->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
