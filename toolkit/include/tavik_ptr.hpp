// Owning holders for toolkit objects: each one is released by its family's
// free function exactly once, on every path.
#pragma once

#include <memory>
#include <utility>

#include "tavik_pki.h"

namespace tavik {

template <auto FreeFn> struct Free {
    template <class T> void operator()(T *p) const noexcept { FreeFn(p); }
};

using CertPtr = std::unique_ptr<TAVIK_CERT_st, Free<TavikPKICertFreeCert>>;
using VerifyPtr = std::unique_ptr<TAVIK_VERIFY_st, Free<TavikPKICertFreeVerify>>;
using TimePtr = std::unique_ptr<tavik_time, Free<tavik_time_free>>;
using BigIntPtr = std::unique_ptr<tavik_biginteger, Free<tavik_biginteger_free>>;
using BitSetPtr = std::unique_ptr<tavik_bitset, Free<tavik_bitset_free>>;
using BlobPtr = std::unique_ptr<tavik_data_blob, Free<tavik_data_blob_free>>;
using DevicePtr = std::unique_ptr<TAVIK_PKI_DEVICE_HANDLE_st, Free<TavikPKIDeviceClose>>;
using UStringPtr = std::unique_ptr<tavik_ustring, Free<tavik_ustring_free>>;
using Asn1ValuePtr = std::unique_ptr<tavik_asn1_value, Free<tavik_asn1_value_free>>;
using ExtsPtr = std::unique_ptr<tavik_cert_exts, Free<tavik_cert_exts_free>>;
using ExtPtr = std::unique_ptr<tavik_cert_ext, Free<tavik_cert_ext_free>>;
// Texts from tavik_free and TavikPKICryptoFreeMemory share one heap.
using TextPtr = std::unique_ptr<char, Free<tavik_free>>;
using WideTextPtr = std::unique_ptr<wchar_t, Free<tavik_free>>;
using BytesPtr = std::unique_ptr<unsigned char, Free<tavik_free>>;
using AlgPtr = std::unique_ptr<tavik_cert_algorithmid, Free<tavik_cert_algorithmid_free>>;
using DssParamsPtr = std::unique_ptr<tavik_cert_dssparams, Free<tavik_cert_dssparams_free>>;
using DnPtr = std::unique_ptr<tavik_cert_dn, Free<tavik_cert_dn_free>>;
using RdnPtr = std::unique_ptr<tavik_cert_rdn, Free<tavik_cert_rdn_free>>;
using AtvPtr = std::unique_ptr<tavik_cert_attrtypeandvalue, Free<tavik_cert_attrtypeandvalue_free>>;
using PubKeyPtr = std::unique_ptr<tavik_cert_pubkey, Free<tavik_cert_pubkey_free>>;
using RsaKeyPtr = std::unique_ptr<tavik_crypto_rsakey, Free<tavik_crypto_rsakey_free>>;
using EccKeyPtr = std::unique_ptr<tavik_ecc_pubkey, Free<tavik_ecc_freepubkey>>;
using EccPointPtr = std::unique_ptr<tavik_ecc_point, Free<tavik_ecc_freepoint>>;
using EccParamsPtr =
    std::unique_ptr<tavik_ecc_domainparameters, Free<tavik_ecc_freedomainparameters>>;
using GeneralNamesPtr =
    std::unique_ptr<tavik_cert_generalnames, Free<tavik_cert_generalnames_free>>;
using GeneralNamePtr = std::unique_ptr<tavik_cert_generalname, Free<tavik_cert_generalname_free>>;
using OtherNamePtr = std::unique_ptr<tavik_cert_othername, Free<tavik_cert_othername_free>>;
using SubtreesPtr =
    std::unique_ptr<tavik_cert_generalsubtrees, Free<tavik_cert_generalsubtrees_free>>;
using SubtreePtr = std::unique_ptr<tavik_cert_generalsubtree, Free<tavik_cert_generalsubtree_free>>;
using AkidPtr = std::unique_ptr<tavik_cert_akid, Free<tavik_cert_akid_free>>;
using BasicConstraintsPtr =
    std::unique_ptr<tavik_cert_basicconstraints, Free<tavik_cert_basicconstraints_free>>;
using ExtKeyUsagePtr = std::unique_ptr<tavik_cert_extkeyusage, Free<tavik_cert_extkeyusage_free>>;
using CertPoliciesPtr =
    std::unique_ptr<tavik_cert_certpolicies, Free<tavik_cert_certpolicies_free>>;
using PolicyInfoPtr = std::unique_ptr<tavik_cert_policyinfo, Free<tavik_cert_policyinfo_free>>;
using PolQualifierPtr =
    std::unique_ptr<tavik_cert_polqualifierinfo, Free<tavik_cert_polqualifierinfo_free>>;
using UserNoticePtr = std::unique_ptr<tavik_cert_usernotice, Free<tavik_cert_usernotice_free>>;
using PolicyMapsPtr = std::unique_ptr<tavik_cert_policymaps, Free<tavik_cert_policymaps_free>>;
using PolicyMapPtr = std::unique_ptr<tavik_cert_policymap, Free<tavik_cert_policymap_free>>;
using PolicyConstraintsPtr =
    std::unique_ptr<tavik_cert_policyconstraints, Free<tavik_cert_policyconstraints_free>>;
using NameConstraintsPtr =
    std::unique_ptr<tavik_cert_nameconstraints, Free<tavik_cert_nameconstraints_free>>;
using PrivKeyUsagePeriodPtr =
    std::unique_ptr<tavik_cert_privkeyusageperiod, Free<tavik_cert_privkeyusageperiod_free>>;
// Distribution points, access information and the private extensions.
using StreamPtr = std::unique_ptr<tavik_stream, Free<tavik_stream_free>>;
using CrlDpsPtr = std::unique_ptr<tavik_cert_crldps, Free<tavik_cert_crldps_free>>;
using DistPointPtr = std::unique_ptr<tavik_cert_distpoint, Free<tavik_cert_distpoint_free>>;
using DpNamePtr = std::unique_ptr<tavik_cert_dpname, Free<tavik_cert_dpname_free>>;
using IdpPtr = std::unique_ptr<tavik_cert_idp, Free<tavik_cert_idp_free>>;
using AccessDescsPtr = std::unique_ptr<tavik_cert_accessdescs, Free<tavik_cert_accessdescs_free>>;
using AccessDescPtr = std::unique_ptr<tavik_cert_accessdesc, Free<tavik_cert_accessdesc_free>>;
using IdItemsPtr =
    std::unique_ptr<tavik_cert_identificationitems, Free<tavik_cert_identificationitems_free>>;
using IdItemPtr =
    std::unique_ptr<tavik_cert_identificationitem, Free<tavik_cert_identificationitem_free>>;
using DigestInfoListPtr =
    std::unique_ptr<tavik_cert_digestinfolist, Free<tavik_cert_digestinfolist_free>>;
using DigestInfoPtr = std::unique_ptr<tavik_cert_digestinfo, Free<tavik_cert_digestinfo_free>>;

// A certification path: an array of handles and its count.
class CertPath {
  public:
    CertPath() = default;
    CertPath(TAVIK_CERT_st **certs, int count) : m_certs(certs), m_count(count) {}
    CertPath(const CertPath &) = delete;
    CertPath &operator=(const CertPath &) = delete;
    CertPath(CertPath &&other) noexcept
        : m_certs(std::exchange(other.m_certs, nullptr)), m_count(std::exchange(other.m_count, 0))
    {
    }
    CertPath &operator=(CertPath &&other) noexcept
    {
        if (this != &other) {
            reset();
            m_certs = std::exchange(other.m_certs, nullptr);
            m_count = std::exchange(other.m_count, 0);
        }
        return *this;
    }
    ~CertPath() { reset(); }

    void reset()
    {
        if (m_certs)
            TavikPKICertFreeCertPath(m_certs, m_count);
        m_certs = nullptr;
        m_count = 0;
    }
    TAVIK_CERT_st **data() const { return m_certs; }
    int size() const { return m_count; }
    TAVIK_CERT_st *operator[](int i) const { return m_certs[i]; }

    // Out-parameters for the toolkit's path functions.
    TAVIK_CERT_st ***outCerts()
    {
        reset();
        return &m_certs;
    }
    int *outCount() { return &m_count; }

  private:
    TAVIK_CERT_st **m_certs = nullptr;
    int m_count = 0;
};

} // namespace tavik
