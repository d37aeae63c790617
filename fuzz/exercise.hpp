// Feeds bytes through every reader of the toolkit: the certificate loaders,
// then every getter and converter on what comes back (every extension through
// every converter and every accessor of the result), and the ASN.1 reader on
// the raw bytes under every type code and through the streams; then every
// family again from null handles and null outputs, which must be refused.
// Shared by the fuzzer and the test that replays the inputs it found, so that
// both run exactly the same code.
#pragma once

#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string>

#include "tavik_pki.h"
#include "tavik_ptr.hpp"

namespace pkiui::fuzz {

template <class T, auto F> using Own = std::unique_ptr<T, tavik::Free<F>>;

// What one run found wrong besides crashes: an accessor that answered where
// it must refuse.
class Exercise {
  public:
    // Runs everything over the bytes; false when an invariant broke (what()
    // tells which). Every object made is released before it returns.
    bool run(const unsigned char *data, std::size_t size)
    {
        rawBytes(data, size);
        asn1(data, size);
        certificates(data, size);
        nulls(data, size);
        return m_failed == nullptr;
    }
    const char *what() const { return m_failed ? m_failed : ""; }

  private:
    // Every type code the reader knows, and some it does not.
    static constexpr std::array kTypes{0, 1, 2, 3, 4, 5, 6, 9, 11, 12, 14, 16, 19, 22, 30};
    static constexpr std::array kStringAttributes{9, 16, 22, 31, 0, -1};
    static constexpr std::array kIntegerAttributes{4, 5, 6, 34, 43, 0, -1};
    // More items than any count an input can make would take too long to walk.
    static constexpr int kMaxItems = 64;

    const char *m_failed = nullptr;
    unsigned m_sink = 0; // keeps reads from being dropped
    // Set while every family is walked from null handles (nulls()).
    bool m_null = false;

    void check(bool condition, const char *what)
    {
        if (!condition && !m_failed)
            m_failed = what;
    }

    // What a getter made; nothing may come of a null handle.
    bool made(const void *p)
    {
        check(!m_null || !p, "answer for a null handle");
        return p != nullptr;
    }
    bool accepted(bool yes) { return made(yes ? this : nullptr); }
    // A number read, and the failure value it must be for a null handle.
    void number(long value, long onNull)
    {
        m_sink += static_cast<unsigned>(value);
        check(!m_null || value == onNull, "failure value for a null handle");
    }

    void readBytes(const unsigned char *data, std::size_t length)
    {
        for (std::size_t i = 0; i < length; ++i)
            m_sink += data[i];
    }

    // ---- Values ----

    void blob(tavik_data_blob *raw)
    {
        const tavik::BlobPtr owned(raw);
        if (made(raw)) {
            check(raw->data != nullptr, "blob without data");
            readBytes(raw->data, raw->length);
        }
    }

    // Texts come from one heap: release them with either function.
    void text(char *raw, bool cryptoFree = false)
    {
        if (!made(raw))
            return;
        m_sink += static_cast<unsigned>(std::strlen(raw));
        cryptoFree ? TavikPKICryptoFreeMemory(raw) : tavik_free(raw);
    }

    void ustring(tavik_ustring *raw)
    {
        const Own<tavik_ustring, tavik_ustring_free> s(raw);
        made(raw);
        number(static_cast<long>(tavik_ustring_getlength(s.get())), 0);
        char *mb = nullptr;
        std::size_t mbLength = 0;
        if (accepted(tavik_ustring_tombs(s.get(), "UTF-8", &mb, &mbLength) == 1)) {
            check(mb != nullptr && std::strlen(mb) <= mbLength, "multibyte length");
            readBytes(reinterpret_cast<const unsigned char *>(mb), mbLength);
            tavik_free(mb);
        }
        if (tavik_ustring_tombs(s.get(), "GB2312", &mb, &mbLength) == 1) {
            check(false, "unknown encoding");
            tavik_free(mb);
        }
        if (wchar_t *wide = tavik_ustring_towcs(s.get()); made(wide)) {
            m_sink += static_cast<unsigned>(std::wcslen(wide));
            tavik_free(wide);
        }
    }

    void bigint(tavik_biginteger *raw, bool negate = true)
    {
        const tavik::BigIntPtr n(raw);
        made(raw);
        m_sink += static_cast<unsigned>(tavik_biginteger_getbitcount(n.get()));
        blob(tavik_biginteger_getdata(n.get()));
        m_sink += static_cast<unsigned>(tavik_biginteger_getsign(n.get()));
        std::int64_t value = 0;
        if (accepted(tavik_biginteger_getvalue(n.get(), &value) == 1))
            m_sink += static_cast<unsigned>(value);
        char *dec = nullptr;
        std::size_t decLength = 0;
        if (accepted(tavik_biginteger_unsigned_todec(n.get(), &dec, &decLength) == 1)) {
            check(dec != nullptr && std::strlen(dec) == decLength, "decimal length");
            tavik_free(dec);
        }
        if (negate)
            bigint(tavik_biginteger_neg(n.get()), false);
    }

    void bitset(tavik_bitset *raw)
    {
        const tavik::BitSetPtr set(raw);
        made(raw);
        int unused = -1;
        tavik_data_blob *data = tavik_bitset_getdata(set.get(), &unused);
        const int bits = data ? static_cast<int>(data->length) * 8 : 0;
        blob(data);
        for (int i = -1; i <= bits && i < 1024; ++i)
            number(tavik_bitset_isset(set.get(), i), 0);
    }

    void calendar(tavik_time *raw, bool convert = true)
    {
        const tavik::TimePtr t(raw);
        made(raw);
        m_sink +=
            static_cast<unsigned>(tavik_time_getyear(t.get()) + tavik_time_getmonth(t.get()) +
                                  tavik_time_getday(t.get()) + tavik_time_gethour(t.get()) +
                                  tavik_time_getminute(t.get()) + tavik_time_getsecond(t.get()));
        const tavik::TimePtr copy(tavik_time_dup(t.get()));
        made(copy.get());
        const int order = tavik_time_cmp(t.get(), copy.get());
        number(order, -2);
        check(!t || order == 0, "time copy differs");
        check(tavik_time_cmp(t.get(), nullptr) == -2, "time compared with null");
        if (convert)
            calendar(tavik_time_utc2local(t.get()), false);
    }

    // ---- ASN.1 ----

    void asn1Value(tavik_asn1_value *raw)
    {
        const Own<tavik_asn1_value, tavik_asn1_value_free> v(raw);
        made(raw);
        number(tavik_asn1_value_gettype(v.get()), -1);
        number(static_cast<long>(tavik_asn1_value_getencodedlength(v.get())), 0);
        blob(tavik_asn1_octetstring_getblob(v.get()));
        const int length = tavik_asn1_integer_getlength(v.get());
        if (accepted(length > 0)) {
            std::string out(static_cast<std::size_t>(length), '\0');
            auto *bytes = reinterpret_cast<unsigned char *>(out.data());
            check(tavik_asn1_integer_get(v.get(), bytes, out.size()) == 1, "integer copy");
            check(tavik_asn1_integer_get(v.get(), bytes, out.size() - 1) != 1, "short buffer");
        }
        number(tavik_asn1_boolean_istrue(v.get()), -1);
        text(tavik_asn1_oid_getstring(v.get()));
    }

    void asn1(const unsigned char *data, std::size_t size)
    {
        for (const int type : kTypes) {
            tavik_asn1_value *value = nullptr;
            if (tavik_asn1_mem_decode(data, size, type, &value) == 1) {
                check(tavik_asn1_value_getencodedlength(value) <= size, "value beyond input");
                asn1Value(value);
            }
        }
        streams(data, size);
    }

    void streams(const unsigned char *data, std::size_t size)
    {
        using StreamPtr = Own<tavik_stream, tavik_stream_free>;
        // Whole values in turn, under each type code.
        for (const int type : kTypes) {
            const StreamPtr stream(tavik_stream_new_romem(data, size, 0, 0));
            if (!stream)
                return;
            for (int i = 0; i < kMaxItems; ++i) {
                const std::size_t before = tavik_stream_remaining(stream.get());
                tavik_asn1_value *value = nullptr;
                if (tavik_asn1_decode(stream.get(), type, &value, 0) != 1) {
                    check(tavik_stream_remaining(stream.get()) == before, "failed read moved");
                    break;
                }
                check(before - tavik_stream_remaining(stream.get()) ==
                          tavik_asn1_value_getencodedlength(value),
                      "stream moved by other than the value");
                asn1Value(value);
            }
        }
        // The parts of one TLV, as the identity code is read: identifier,
        // length, then content under every type code or an inner value.
        for (const int type : kTypes) {
            const StreamPtr stream(tavik_stream_new_romem(data, size, 0, 0));
            int cls = -1, constructed = -1, tag = -1, indefinite = -1;
            std::size_t length = 0;
            if (tavik_asn1_decode_identifier(stream.get(), &cls, &constructed, &tag) != 1)
                return;
            check(cls == 0 || cls == 64 || cls == 128 || cls == 192, "class");
            check(tag >= 0, "tag");
            if (tavik_asn1_decode_length(stream.get(), &length, &indefinite) != 1)
                return;
            tavik_asn1_value *value = nullptr;
            const bool read =
                constructed ? tavik_asn1_decode(stream.get(), type, &value, 0) == 1
                            : tavik_asn1_decode_content(stream.get(), type, length, &value) == 1;
            if (read)
                asn1Value(value);
        }
        const StreamPtr refused(tavik_stream_new_romem(data, size, 1, 0));
        check(!refused, "stream flag");
    }

    void rawBytes(const unsigned char *data, std::size_t size)
    {
        blob(tavik_data_blob_new(data, size));
        char *hex = nullptr;
        std::size_t hexLength = 0;
        if (tavik_hexencode(1, data, size, &hex, &hexLength) == 1) {
            check(hexLength == 2 * size, "hex length");
            tavik_free(hex);
        }
        ustring(tavik_ustring_newutf8(reinterpret_cast<const char *>(data), size));
        bitset(tavik_bitset_new(data, size, size ? data[0] & 7 : 0));
        bigint(tavik_biginteger_new(data, size, size && (data[0] & 1)));
        unsigned char *r = nullptr;
        unsigned char *s = nullptr;
        int rLength = 0, sLength = 0;
        const int length = size <= INT_MAX ? static_cast<int>(size) : 0;
        if (TavikPKICryptoDecodeECCSignature(data, length, &r, &rLength, &s, &sLength) == 1) {
            readBytes(r, static_cast<std::size_t>(rLength));
            readBytes(s, static_cast<std::size_t>(sLength));
            tavik_free(r);
            tavik_free(s);
        }
        check(TavikPKICryptoDecodeECCSignature(nullptr, length, &r, &rLength, &s, &sLength) != 1 &&
                  TavikPKICryptoDecodeECCSignature(data, -1, &r, &rLength, &s, &sLength) != 1 &&
                  TavikPKICryptoDecodeECCSignature(data, length, nullptr, &rLength, &s, &sLength) !=
                      1 &&
                  TavikPKICryptoDecodeECCSignature(data, length, &r, &rLength, &s, nullptr) != 1,
              "signature with null");
    }

    // ---- Names ----

    void rdn(tavik_cert_rdn *raw)
    {
        const Own<tavik_cert_rdn, tavik_cert_rdn_free> r(raw);
        made(raw);
        const int count = tavik_cert_rdn_getitemcount(r.get());
        number(count, -1);
        for (int i = 0; i < count && i < kMaxItems; ++i) {
            tavik_cert_attrtypeandvalue *item = tavik_cert_rdn_getitem(r.get(), i);
            check(item != nullptr, "rdn item");
            atv(item);
        }
        check(!Own<tavik_cert_attrtypeandvalue, tavik_cert_attrtypeandvalue_free>(
                  tavik_cert_rdn_getitem(r.get(), count)),
              "rdn item past the end");
    }

    void atv(tavik_cert_attrtypeandvalue *raw)
    {
        const Own<tavik_cert_attrtypeandvalue, tavik_cert_attrtypeandvalue_free> atv(raw);
        made(raw);
        text(tavik_cert_attrtypeandvalue_gettype(atv.get()), true);
        ustring(tavik_cert_attrtypeandvalue_getstring(atv.get()));
        blob(tavik_cert_attrtypeandvalue_getvalencode(atv.get()));
    }

    void dn(tavik_cert_dn *raw)
    {
        const Own<tavik_cert_dn, tavik_cert_dn_free> d(raw);
        made(raw);
        const int count = tavik_cert_dn_getitemcount(d.get());
        number(count, -1);
        for (int i = 0; i < count && i < kMaxItems; ++i)
            rdn(tavik_cert_dn_getitem(d.get(), i));
        check(!Own<tavik_cert_rdn, tavik_cert_rdn_free>(tavik_cert_dn_getitem(d.get(), -1)),
              "rdn before the start");
    }

    // Every accessor on every name, whatever its type: the others refuse.
    void generalName(tavik_cert_generalname *raw)
    {
        const Own<tavik_cert_generalname, tavik_cert_generalname_free> gn(raw);
        made(raw);
        number(tavik_cert_generalname_gettype(gn.get()), -1);
        ustring(tavik_cert_generalname_getrfc822name(gn.get()));
        ustring(tavik_cert_generalname_getdnsname(gn.get()));
        ustring(tavik_cert_generalname_geturi(gn.get()));
        dn(tavik_cert_generalname_getdirname(gn.get()));
        text(tavik_cert_generalname_getip(gn.get()), true);
        text(tavik_cert_generalname_getregid(gn.get()), true);
        blob(tavik_cert_generalname_getencode(gn.get()));
        {
            const Own<tavik_cert_othername, tavik_cert_othername_free> other(
                tavik_cert_generalname_getothername(gn.get()));
            made(other.get());
            text(tavik_cert_othername_gettype(other.get()));
            const tavik::BlobPtr value(tavik_cert_othername_getvalue(other.get()));
            if (value)
                asn1(value->data, value->length);
        }
        const Own<tavik_cert_ediparyname, tavik_cert_ediparyname_free> edi(
            tavik_cert_generalname_getediname(gn.get()));
        made(edi.get());
        ustring(tavik_cert_ediparyname_getnameassigner(edi.get()));
        ustring(tavik_cert_ediparyname_getpartyname(edi.get()));
    }

    void generalNames(tavik_cert_generalnames *raw)
    {
        const Own<tavik_cert_generalnames, tavik_cert_generalnames_free> names(raw);
        made(raw);
        const int count = tavik_cert_generalnames_getitemcount(names.get());
        number(count, -1);
        for (int i = 0; i < count && i < kMaxItems; ++i)
            generalName(tavik_cert_generalnames_getitem(names.get(), i));
        check(!Own<tavik_cert_generalname, tavik_cert_generalname_free>(
                  tavik_cert_generalnames_getitem(names.get(), count)),
              "name past the end");
    }

    void subtrees(tavik_cert_generalsubtrees *raw)
    {
        const Own<tavik_cert_generalsubtrees, tavik_cert_generalsubtrees_free> trees(raw);
        made(raw);
        const int count = tavik_cert_generalsubtrees_getitemcount(trees.get());
        number(count, -1);
        for (int i = 0; i < count && i < kMaxItems; ++i) {
            tavik_cert_generalsubtree *item = tavik_cert_generalsubtrees_getitem(trees.get(), i);
            check(item != nullptr, "subtree");
            subtree(item);
        }
    }

    void subtree(tavik_cert_generalsubtree *raw)
    {
        const Own<tavik_cert_generalsubtree, tavik_cert_generalsubtree_free> tree(raw);
        made(raw);
        generalName(tavik_cert_generalsubtree_getbase(tree.get()));
        bigint(tavik_cert_generalsubtree_getmin(tree.get()));
        bigint(tavik_cert_generalsubtree_getmax(tree.get()));
    }

    // ---- Fields and keys ----

    void algorithm(tavik_cert_algorithmid *raw)
    {
        const Own<tavik_cert_algorithmid, tavik_cert_algorithmid_free> alg(raw);
        made(raw);
        text(tavik_cert_algorithmid_getoid(alg.get()), true);
        m_sink += static_cast<unsigned>(tavik_cert_algorithmid_hasparams(alg.get()) +
                                        tavik_cert_algorithmid_hasnullparam(alg.get()));
        blob(tavik_cert_algorithmid_getparamsencode(alg.get()));
        const Own<tavik_cert_dssparams, tavik_cert_dssparams_free> dss(
            tavik_cert_algorithmid_getdssparams(alg.get()));
        made(dss.get());
        bigint(tavik_cert_dssparams_getp(dss.get()));
        bigint(tavik_cert_dssparams_getq(dss.get()));
        bigint(tavik_cert_dssparams_getg(dss.get()));
    }

    void publicKey(tavik_cert_pubkey *raw)
    {
        const Own<tavik_cert_pubkey, tavik_cert_pubkey_free> key(raw);
        made(raw);
        blob(tavik_cert_pubkey_getencode(key.get()));
        {
            const Own<tavik_crypto_rsakey, tavik_crypto_rsakey_free> rsa(
                tavik_cert_pubkey_torsapubkey(key.get()));
            made(rsa.get());
            bigint(tavik_crypto_rsakey_getmodulus(rsa.get()));
            bigint(tavik_crypto_rsakey_getpubexp(rsa.get()));
        }
        const Own<tavik_ecc_pubkey, tavik_ecc_freepubkey> ec(
            tavik_cert_pubkey_toeccpubkey(key.get()));
        const Own<tavik_ecc_point, tavik_ecc_freepoint> point(tavik_ecc_getpubkeypoint(ec.get()));
        const Own<tavik_ecc_domainparameters, tavik_ecc_freedomainparameters> params(
            tavik_ecc_getdomainparametersfrompubkey(ec.get()));
        made(ec.get());
        made(point.get());
        made(params.get());
        text(tavik_ecc_domainparameters_getname(params.get()));
        m_sink += static_cast<unsigned>(tavik_ecc_domainparameters_getbits(params.get()));
        for (const int compressed : {0, 1}) {
            unsigned char out[160];
            std::size_t length = sizeof out;
            if (accepted(tavik_ecc_encode_point(params.get(), point.get(), compressed, out,
                                                &length) == 1) &&
                length > 0) {
                check(length <= sizeof out, "point beyond buffer");
                std::size_t tooShort = length - 1;
                check(tavik_ecc_encode_point(params.get(), point.get(), compressed, out,
                                             &tooShort) != 1,
                      "point into a short buffer");
            }
        }
    }

    // ---- Extensions ----

    template <class List, auto Free, auto Count, auto Item, class Each>
    void list(List *raw, Each each)
    {
        const Own<List, Free> owned(raw);
        made(raw);
        const int count = Count(owned.get());
        number(count, -1);
        check(count >= 0 || !owned, "negative count");
        for (int i = 0; i < count && i < kMaxItems; ++i) {
            auto *item = Item(owned.get(), i);
            check(item != nullptr, "item in the list");
            each(item);
        }
        for (const int outside : {-1, count}) {
            if (auto *item = Item(owned.get(), outside)) {
                check(false, "item outside the list");
                each(item);
            }
        }
        each(nullptr); // the item's getters on no item
    }

    void policyQualifier(tavik_cert_polqualifierinfo *raw)
    {
        const Own<tavik_cert_polqualifierinfo, tavik_cert_polqualifierinfo_free> q(raw);
        made(raw);
        text(tavik_cert_polqualifierinfo_getid(q.get()));
        ustring(tavik_cert_polqualifierinfo_getcpsuri(q.get()));
        blob(tavik_cert_polqualifierinfo_getqualifierencode(q.get()));
        const Own<tavik_cert_usernotice, tavik_cert_usernotice_free> notice(
            tavik_cert_polqualifierinfo_getusernotice(q.get()));
        made(notice.get());
        ustring(tavik_cert_usernotice_getreforg(notice.get()));
        ustring(tavik_cert_usernotice_getexplicittext(notice.get()));
        const int count = tavik_cert_usernotice_getrefnumberscount(notice.get());
        for (int i = 0; i < count && i < kMaxItems; ++i)
            bigint(tavik_cert_usernotice_getrefnumber(notice.get(), i));
        check(!tavik::BigIntPtr(tavik_cert_usernotice_getrefnumber(notice.get(), count)),
              "reference number past the end");
    }

    void policyInfo(tavik_cert_policyinfo *raw)
    {
        const Own<tavik_cert_policyinfo, tavik_cert_policyinfo_free> info(raw);
        made(raw);
        text(tavik_cert_policyinfo_getid(info.get()));
        m_sink += static_cast<unsigned>(tavik_cert_policyinfo_hasqualifier(info.get()));
        const int count = tavik_cert_policyinfo_getqualifiercount(info.get());
        for (int i = 0; i < count && i < kMaxItems; ++i) {
            tavik_cert_polqualifierinfo *item = tavik_cert_policyinfo_getqualifier(info.get(), i);
            check(item != nullptr, "qualifier");
            policyQualifier(item);
        }
    }

    void dpName(tavik_cert_dpname *raw)
    {
        const Own<tavik_cert_dpname, tavik_cert_dpname_free> name(raw);
        made(raw);
        number(tavik_cert_dpname_gettype(name.get()), -1);
        generalNames(tavik_cert_dpname_getfullname(name.get()));
        rdn(tavik_cert_dpname_getrelname(name.get()));
    }

    void extension(tavik_cert_ext *raw)
    {
        const Own<tavik_cert_ext, tavik_cert_ext_free> ext(raw);
        made(raw);
        text(tavik_cert_ext_getextid(ext.get()));
        number(tavik_cert_ext_iscrical(ext.get()), 0);
        {
            const tavik::BlobPtr value(tavik_cert_ext_getvalue(ext.get()));
            if (made(value.get()))
                asn1(value->data, value->length);
        }
        const tavik_cert_ext *e = ext.get();
        // Each converter's result goes through its getters, null or not.
        {
            const Own<tavik_cert_akid, tavik_cert_akid_free> akid(tavik_cert_ext_toakid(e));
            made(akid.get());
            blob(tavik_cert_akid_getkeyid(akid.get()));
            generalNames(tavik_cert_akid_getissuerissuername(akid.get()));
            bigint(tavik_cert_akid_getissuercertsn(akid.get()));
        }
        {
            const Own<tavik_cert_basicconstraints, tavik_cert_basicconstraints_free> bc(
                tavik_cert_ext_tobasicconstraints(e));
            made(bc.get());
            number(tavik_cert_basicconstraints_isca(bc.get()), 0);
            bigint(tavik_cert_basicconstraints_getpathlen(bc.get()));
        }
        bitset(tavik_cert_ext_tobitstring(e));
        list<tavik_cert_extkeyusage, tavik_cert_extkeyusage_free,
             tavik_cert_extkeyusage_getitemcount, tavik_cert_extkeyusage_getitem>(
            tavik_cert_ext_toextkeyusage(e), [this](char *oid) { text(oid, true); });
        list<tavik_cert_certpolicies, tavik_cert_certpolicies_free,
             tavik_cert_certpolicies_getitemcount, tavik_cert_certpolicies_getitem>(
            tavik_cert_ext_tocertpolicies(e), [this](tavik_cert_policyinfo *p) { policyInfo(p); });
        list<tavik_cert_policymaps, tavik_cert_policymaps_free, tavik_cert_policymaps_getitemcount,
             tavik_cert_policymaps_getitem>(
            tavik_cert_ext_topolicymappings(e), [this](tavik_cert_policymap *raw) {
                const Own<tavik_cert_policymap, tavik_cert_policymap_free> map(raw);
                made(map.get());
                text(tavik_cert_policymap_getissuerpolicy(map.get()));
                text(tavik_cert_policymap_getsubjectpolicy(map.get()));
            });
        {
            const Own<tavik_cert_policyconstraints, tavik_cert_policyconstraints_free> pc(
                tavik_cert_ext_topolicyconstraints(e));
            made(pc.get());
            bigint(tavik_cert_policyconstraints_getreqexppolicy(pc.get()));
            bigint(tavik_cert_policyconstraints_getinhibtpolicymapping(pc.get()));
        }
        {
            const Own<tavik_cert_nameconstraints, tavik_cert_nameconstraints_free> nc(
                tavik_cert_ext_tonameconstraints(e));
            made(nc.get());
            subtrees(tavik_cert_nameconstraints_getpremit(nc.get()));
            subtrees(tavik_cert_nameconstraints_getexclude(nc.get()));
        }
        generalNames(tavik_cert_ext_togeneralnames(e));
        list<tavik_cert_crldps, tavik_cert_crldps_free, tavik_cert_crldps_getitemcount,
             tavik_cert_crldps_getitem>(
            tavik_cert_ext_tocrldp(e), [this](tavik_cert_distpoint *raw) {
                const Own<tavik_cert_distpoint, tavik_cert_distpoint_free> dp(raw);
                made(dp.get());
                dpName(tavik_cert_distpoint_getdpname(dp.get()));
                bitset(tavik_cert_distpoint_getreasons(dp.get()));
                generalNames(tavik_cert_distpoint_getcrlissuer(dp.get()));
            });
        {
            const Own<tavik_cert_idp, tavik_cert_idp_free> idp(tavik_cert_ext_toidp(e));
            made(idp.get());
            dpName(tavik_cert_idp_getdpname(idp.get()));
            m_sink += static_cast<unsigned>(tavik_cert_idp_isonlycontainsusercerts(idp.get()) +
                                            tavik_cert_idp_isonlycontainscacerts(idp.get()) +
                                            tavik_cert_idp_isonlycontainsattrcerts(idp.get()) +
                                            tavik_cert_idp_isindirectcrl(idp.get()));
            bitset(tavik_cert_idp_getconverreasons(idp.get()));
        }
        list<tavik_cert_accessdescs, tavik_cert_accessdescs_free,
             tavik_cert_accessdescs_getitemcount, tavik_cert_accessdescs_getitem>(
            tavik_cert_ext_toaccessdescs(e), [this](tavik_cert_accessdesc *raw) {
                const Own<tavik_cert_accessdesc, tavik_cert_accessdesc_free> desc(raw);
                made(desc.get());
                text(tavik_cert_accessdesc_getmethod(desc.get()), true);
                generalName(tavik_cert_accessdesc_getlocation(desc.get()));
            });
        {
            const Own<tavik_cert_privkeyusageperiod, tavik_cert_privkeyusageperiod_free> period(
                tavik_cert_ext_toprivkeyusageperiod(e));
            made(period.get());
            calendar(tavik_cert_privkeyusageperiod_getnotbefore(period.get()));
            calendar(tavik_cert_privkeyusageperiod_getnotafter(period.get()));
        }
        list<tavik_cert_identificationitems, tavik_cert_identificationitems_free,
             tavik_cert_identificationitems_getitemcount, tavik_cert_identificationitems_getitem>(
            tavik_cert_ext_toidentificationitems(e), [this](tavik_cert_identificationitem *raw) {
                const Own<tavik_cert_identificationitem, tavik_cert_identificationitem_free> item(
                    raw);
                made(item.get());
                std::int64_t n = 0;
                m_sink +=
                    static_cast<unsigned>(tavik_cert_identificationitem_gettype(item.get(), &n));
                m_sink +=
                    static_cast<unsigned>(tavik_cert_identificationitem_getencode(item.get(), &n));
                blob(tavik_cert_identificationitem_getvalue(item.get()));
            });
        list<tavik_cert_digestinfolist, tavik_cert_digestinfolist_free,
             tavik_cert_digestinfolist_getitemcount, tavik_cert_digestinfolist_getitem>(
            tavik_cert_ext_todigestinfolist(e), [this](tavik_cert_digestinfo *raw) {
                const Own<tavik_cert_digestinfo, tavik_cert_digestinfo_free> info(raw);
                made(info.get());
                algorithm(tavik_cert_digestinfo_getalgorithm(info.get()));
                blob(tavik_cert_digestinfo_gethashvalue(info.get()));
            });
        bigint(tavik_cert_ext_tointeger(e));
        bigint(tavik_cert_ext_toenum(e));
        blob(tavik_cert_ext_tooctetstring(e));
        text(tavik_cert_ext_tooid(e), true);
        ustring(tavik_cert_ext_toia5string(e));
        ustring(tavik_cert_ext_toprintablestring(e));
        calendar(tavik_cert_ext_togeneralizedtime(e));
    }

    void extensions(TAVIK_CERT_st *cert)
    {
        number(tavik_cert_hasexts(cert), 0);
        const Own<tavik_cert_exts, tavik_cert_exts_free> exts(tavik_cert_getexts(cert));
        made(exts.get());
        const int count = tavik_cert_exts_getitemcount(exts.get());
        number(count, -1);
        check(!tavik::ExtPtr(tavik_cert_exts_find(exts.get(), nullptr)), "found a null OID");
        made(tavik::ExtPtr(tavik_cert_exts_find(exts.get(), "2.5.29.15")).get());
        for (int i = 0; i < count && i < kMaxItems; ++i) {
            tavik_cert_ext *ext = tavik_cert_exts_getitem(exts.get(), i);
            if (const tavik::TextPtr id(ext ? tavik_cert_ext_getextid(ext) : nullptr); id)
                extension(tavik_cert_exts_find(exts.get(), id.get()));
            extension(ext);
        }
        check(!Own<tavik_cert_ext, tavik_cert_ext_free>(tavik_cert_exts_getitem(exts.get(), count)),
              "extension past the end");
    }

    // ---- Certificates ----

    void certificate(TAVIK_CERT_st *cert)
    {
        for (const int code : kStringAttributes) {
            char *value = nullptr;
            if (accepted(TavikPKICertGetCertStringAttribute(cert, code, &value) == 1))
                text(value, true);
        }
        for (const int code : kIntegerAttributes) {
            std::int64_t value = 0;
            if (accepted(TavikPKICertGetCertIntegerAttribute(cert, code, &value) == 1))
                m_sink += static_cast<unsigned>(value);
        }
        calendar(tavik_cert_getvaliditystart(cert));
        calendar(tavik_cert_getvalidityend(cert));
        number(tavik_cert_getversion(cert), -1);
        tavik_asn1_value *serial = nullptr;
        if (accepted(tavik_cert_getserialnumber_ex(cert, &serial) == 1))
            asn1Value(serial);
        check(tavik_cert_getserialnumber_ex(cert, nullptr) != 1, "serial into null");
        algorithm(tavik_cert_getsignalgorithm(cert));
        algorithm(tavik_cert_getpubkeyalgorithm(cert));
        dn(tavik_cert_getissuer(cert));
        dn(tavik_cert_getsubject(cert));
        publicKey(tavik_cert_getpubkey(cert));
        {
            const tavik::BlobPtr signature(tavik_cert_getsignvalue(cert));
            if (made(signature.get()) && signature->length <= INT_MAX)
                rawBytes(signature->data, signature->length);
        }
        m_sink +=
            static_cast<unsigned>(tavik_cert_hasissueruid(cert) + tavik_cert_hassubjectuid(cert));
        bitset(tavik_cert_getissueruid(cert));
        bitset(tavik_cert_getsubjectuid(cert));
        {
            const tavik::BlobPtr der(tavik_cert_encode(cert));
            if (made(der.get()))
                digests(der->data, der->length);
        }
        extensions(cert);
    }

    void digests(const unsigned char *data, std::size_t size)
    {
        using Digest = int (*)(const unsigned char *, size_t, unsigned char *, size_t *);
        for (const Digest digest : {tavik_crypto_md5, tavik_crypto_sha1, tavik_crypto_sha256,
                                    tavik_crypto_sha512, tavik_crypto_sm3}) {
            unsigned char out[64];
            std::size_t length = sizeof out;
            if (digest(data, size, out, &length) == 1)
                check(length <= sizeof out, "digest beyond buffer");
            std::size_t tooShort = 8;
            check(digest(data, size, out, &tooShort) != 1, "digest into a short buffer");
            check(digest(nullptr, 1, out, &length) != 1 &&
                      digest(data, size, nullptr, &length) != 1 &&
                      digest(data, size, out, nullptr) != 1,
                  "digest with null");
        }
    }

    void certificates(const unsigned char *data, std::size_t size)
    {
        TAVIK_CERT_st *raw = nullptr;
        if (TavikPKICertNewFromData(data, size, &raw) == 1) {
            const tavik::CertPtr cert(raw);
            certificate(cert.get());
            const tavik::CertPtr copy(TavikPKICertDupCert(cert.get()));
            check(copy != nullptr, "certificate copy");
            const tavik::VerifyPtr verifier(TavikPKICertNewVerify());
            check(TavikPKICertVerify(nullptr, cert.get(), nullptr, nullptr) == TAVIK_ERR_ARGUMENT &&
                      TavikPKICertVerify(verifier.get(), nullptr, nullptr, nullptr) ==
                          TAVIK_ERR_ARGUMENT &&
                      TavikPKICertVerifyAddRootCert(verifier.get(), nullptr) != 1 &&
                      TavikPKICertVerifyAddCACert(nullptr, cert.get()) != 1,
                  "verifier with null");
        }
        TAVIK_CERT_st **all = nullptr;
        int count = 0;
        if (TavikPKICertNewAllFromData(data, size, &all, &count) == 1) {
            const tavik::CertPath path(all, count);
            check(count > 0, "no certificate in a list");
        }
    }

    // Every family from null handles, and the readers with null inputs and
    // outputs: each refuses, with its failure value where it has one.
    void nulls(const unsigned char *data, std::size_t size)
    {
        m_null = true;
        certificate(nullptr);
        extension(nullptr);
        atv(nullptr);
        subtree(nullptr);
        policyQualifier(nullptr);
        ustring(tavik_ustring_newutf8(nullptr, 0));
        bitset(tavik_bitset_new(nullptr, 1, 0));
        made(Own<tavik_stream, tavik_stream_free>(tavik_stream_new_romem(nullptr, 0, 0, 0)).get());
        number(static_cast<long>(tavik_stream_remaining(nullptr)), 0);
        static constexpr unsigned char kNull[] = {0x05, 0x00};
        tavik_asn1_value *value = nullptr;
        accepted(tavik_asn1_mem_decode(nullptr, 0, TAVIK_ASN1_NULL, &value) == 1 ||
                 tavik_asn1_mem_decode(kNull, 2, TAVIK_ASN1_NULL, nullptr) == 1 ||
                 tavik_asn1_decode(nullptr, TAVIK_ASN1_INTEGER, &value, 0) == 1);
        TAVIK_CERT_st *cert = nullptr;
        accepted(TavikPKICertNewFromData(nullptr, size, &cert) == 1 ||
                 TavikPKICertNewFromData(data, size, nullptr) == 1 ||
                 TavikPKICertNewFromFile(nullptr, &cert) == 1 ||
                 TavikPKICertStoreAddTrusted(nullptr) == 1);
        made(cert);
        tavik::CertPath path;
        number(TavikPKICertGetCertPath(nullptr, path.outCerts(), path.outCount()),
               TAVIK_ERR_ARGUMENT);
        TavikPKICertFreeCertPath(nullptr, 3);
        TavikPKICertFreeVerify(nullptr);
        m_null = false;
    }
};

} // namespace pkiui::fuzz
