// Typed converters of extension values that hold no names or strings: basic
// constraints, bit strings, extended key usage, policy mappings and
// constraints, the private-key usage period and the single values. Each
// reads the whole extnValue with the structure's own template, whatever the
// extension's OID.
#include <openssl/asn1.h>
#include <openssl/bn.h>
#include <openssl/x509v3.h>

#include "extensions.hpp"
#include "objects.hpp"
#include "values.hpp"

using tavik::detail::decodeWhole;
using tavik::detail::dottedOid;
using tavik::detail::freeObject;
using tavik::detail::listCount;
using tavik::detail::listItem;
using tavik::detail::newObject;
using tavik::detail::partOf;
using tavik::detail::Shared;
using tavik::detail::wrap;

struct tavik_cert_basicconstraints_st {
    Shared<BASIC_CONSTRAINTS> value;
};
struct tavik_cert_extkeyusage_st {
    Shared<EXTENDED_KEY_USAGE> value;
};
struct tavik_cert_policymaps_st {
    Shared<POLICY_MAPPINGS> value;
};
struct tavik_cert_policymap_st {
    Shared<POLICY_MAPPING> value;
};
struct tavik_cert_policyconstraints_st {
    Shared<POLICY_CONSTRAINTS> value;
};
struct tavik_cert_privkeyusageperiod_st {
    Shared<PKEY_USAGE_PERIOD> value;
};

extern "C" {

// BasicConstraints ::= SEQUENCE { cA BOOLEAN DEFAULT FALSE,
//                                 pathLenConstraint INTEGER (0..MAX) OPTIONAL }
tavik_cert_basicconstraints *tavik_cert_ext_tobasicconstraints(const tavik_cert_ext *ext)
{
    return wrap<tavik_cert_basicconstraints>(
        decodeWhole<BASIC_CONSTRAINTS, BASIC_CONSTRAINTS_it>(ext));
}

void tavik_cert_basicconstraints_free(tavik_cert_basicconstraints *bc)
{
    freeObject(bc);
}

int tavik_cert_basicconstraints_isca(const tavik_cert_basicconstraints *bc)
{
    // A decoded TRUE keeps its content octet (FF), not 1.
    return bc && bc->value->ca ? 1 : 0;
}

tavik_biginteger *tavik_cert_basicconstraints_getpathlen(const tavik_cert_basicconstraints *bc)
{
    return bc ? tavik::detail::newBigInt(bc->value->pathlen) : nullptr;
}

// KeyUsage, NetscapeCertType, ReasonFlags ::= BIT STRING
tavik_bitset *tavik_cert_ext_tobitstring(const tavik_cert_ext *ext)
{
    const auto bits = decodeWhole<ASN1_BIT_STRING, ASN1_BIT_STRING_it>(ext);
    return bits ? tavik::detail::newBitSet(bits.get()) : nullptr;
}

// ExtKeyUsageSyntax ::= SEQUENCE SIZE (1..MAX) OF KeyPurposeId
// KeyPurposeId ::= OBJECT IDENTIFIER
tavik_cert_extkeyusage *tavik_cert_ext_toextkeyusage(const tavik_cert_ext *ext)
{
    return wrap<tavik_cert_extkeyusage>(
        decodeWhole<EXTENDED_KEY_USAGE, EXTENDED_KEY_USAGE_it>(ext));
}

void tavik_cert_extkeyusage_free(tavik_cert_extkeyusage *eku)
{
    freeObject(eku);
}

int tavik_cert_extkeyusage_getitemcount(const tavik_cert_extkeyusage *eku)
{
    return listCount(eku);
}

char *tavik_cert_extkeyusage_getitem(const tavik_cert_extkeyusage *eku, int index)
{
    return eku ? dottedOid(sk_ASN1_OBJECT_value(eku->value.get(), index)) : nullptr;
}

// PolicyMappings ::= SEQUENCE SIZE (1..MAX) OF SEQUENCE {
//     issuerDomainPolicy CertPolicyId, subjectDomainPolicy CertPolicyId }
tavik_cert_policymaps *tavik_cert_ext_topolicymappings(const tavik_cert_ext *ext)
{
    return wrap<tavik_cert_policymaps>(decodeWhole<POLICY_MAPPINGS, POLICY_MAPPINGS_it>(ext));
}

void tavik_cert_policymaps_free(tavik_cert_policymaps *maps)
{
    freeObject(maps);
}

int tavik_cert_policymaps_getitemcount(const tavik_cert_policymaps *maps)
{
    return listCount(maps);
}

tavik_cert_policymap *tavik_cert_policymaps_getitem(const tavik_cert_policymaps *maps, int index)
{
    return listItem<tavik_cert_policymap, POLICY_MAPPING>(maps, index);
}

void tavik_cert_policymap_free(tavik_cert_policymap *map)
{
    freeObject(map);
}

char *tavik_cert_policymap_getissuerpolicy(const tavik_cert_policymap *map)
{
    return map ? dottedOid(map->value->issuerDomainPolicy) : nullptr;
}

char *tavik_cert_policymap_getsubjectpolicy(const tavik_cert_policymap *map)
{
    return map ? dottedOid(map->value->subjectDomainPolicy) : nullptr;
}

// PolicyConstraints ::= SEQUENCE {
//     requireExplicitPolicy [0] SkipCerts OPTIONAL,
//     inhibitPolicyMapping  [1] SkipCerts OPTIONAL }
tavik_cert_policyconstraints *tavik_cert_ext_topolicyconstraints(const tavik_cert_ext *ext)
{
    return wrap<tavik_cert_policyconstraints>(
        decodeWhole<POLICY_CONSTRAINTS, POLICY_CONSTRAINTS_it>(ext));
}

void tavik_cert_policyconstraints_free(tavik_cert_policyconstraints *pc)
{
    freeObject(pc);
}

tavik_biginteger *
tavik_cert_policyconstraints_getreqexppolicy(const tavik_cert_policyconstraints *pc)
{
    return pc ? tavik::detail::newBigInt(pc->value->requireExplicitPolicy) : nullptr;
}

tavik_biginteger *
tavik_cert_policyconstraints_getinhibtpolicymapping(const tavik_cert_policyconstraints *pc)
{
    return pc ? tavik::detail::newBigInt(pc->value->inhibitPolicyMapping) : nullptr;
}

// PrivateKeyUsagePeriod ::= SEQUENCE {
//     notBefore [0] GeneralizedTime OPTIONAL,
//     notAfter  [1] GeneralizedTime OPTIONAL }
tavik_cert_privkeyusageperiod *tavik_cert_ext_toprivkeyusageperiod(const tavik_cert_ext *ext)
{
    return wrap<tavik_cert_privkeyusageperiod>(
        decodeWhole<PKEY_USAGE_PERIOD, PKEY_USAGE_PERIOD_it>(ext));
}

void tavik_cert_privkeyusageperiod_free(tavik_cert_privkeyusageperiod *period)
{
    freeObject(period);
}

tavik_time *tavik_cert_privkeyusageperiod_getnotbefore(const tavik_cert_privkeyusageperiod *period)
{
    return period && period->value->notBefore ? tavik::detail::newTime(period->value->notBefore)
                                              : nullptr;
}

tavik_time *tavik_cert_privkeyusageperiod_getnotafter(const tavik_cert_privkeyusageperiod *period)
{
    return period && period->value->notAfter ? tavik::detail::newTime(period->value->notAfter)
                                             : nullptr;
}

// CRLNumber, BaseCRLNumber, InhibitAnyPolicy ::= INTEGER
tavik_biginteger *tavik_cert_ext_tointeger(const tavik_cert_ext *ext)
{
    const auto value = decodeWhole<ASN1_INTEGER, ASN1_INTEGER_it>(ext);
    return value ? tavik::detail::newBigInt(value.get()) : nullptr;
}

// CRLReason ::= ENUMERATED
tavik_biginteger *tavik_cert_ext_toenum(const tavik_cert_ext *ext)
{
    const auto value = decodeWhole<ASN1_ENUMERATED, ASN1_ENUMERATED_it>(ext);
    if (!value)
        return nullptr;
    const tavik::detail::OsslPtr<BIGNUM, BN_free> number(
        ASN1_ENUMERATED_to_BN(value.get(), nullptr));
    return number ? tavik::detail::newBigInt(number.get()) : nullptr;
}

// SubjectKeyIdentifier ::= KeyIdentifier ::= OCTET STRING
tavik_data_blob *tavik_cert_ext_tooctetstring(const tavik_cert_ext *ext)
{
    const auto value = decodeWhole<ASN1_OCTET_STRING, ASN1_OCTET_STRING_it>(ext);
    if (!value)
        return nullptr;
    const int length = ASN1_STRING_length(value.get());
    return tavik_data_blob_new(ASN1_STRING_get0_data(value.get()),
                               length > 0 ? static_cast<std::size_t>(length) : 0);
}

// HoldInstructionCode ::= OBJECT IDENTIFIER
char *tavik_cert_ext_tooid(const tavik_cert_ext *ext)
{
    const auto value = decodeWhole<ASN1_OBJECT, ASN1_OBJECT_it>(ext);
    return value ? dottedOid(value.get()) : nullptr;
}

// InvalidityDate ::= GeneralizedTime
tavik_time *tavik_cert_ext_togeneralizedtime(const tavik_cert_ext *ext)
{
    const auto value = decodeWhole<ASN1_GENERALIZEDTIME, ASN1_GENERALIZEDTIME_it>(ext);
    return value ? tavik::detail::newTime(value.get()) : nullptr;
}

} // extern "C"
