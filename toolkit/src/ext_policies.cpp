// Certificate policies with their qualifiers. Each level of the structure is
// handed out as its own deep copy.
#include <openssl/asn1.h>
#include <openssl/objects.h>
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

struct tavik_cert_certpolicies_st {
    Shared<CERTIFICATEPOLICIES> value;
};
struct tavik_cert_policyinfo_st {
    Shared<POLICYINFO> value;
};
struct tavik_cert_polqualifierinfo_st {
    Shared<POLICYQUALINFO> value;
};
struct tavik_cert_usernotice_st {
    Shared<USERNOTICE> value;
};

namespace {

int qualifierNid(const tavik_cert_polqualifierinfo *qualifier) noexcept
{
    return qualifier ? OBJ_obj2nid(qualifier->value->pqualid) : NID_undef;
}

} // namespace

extern "C" {

// certificatePolicies ::= SEQUENCE SIZE (1..MAX) OF PolicyInformation
// PolicyInformation ::= SEQUENCE { policyIdentifier CertPolicyId,
//     policyQualifiers SEQUENCE SIZE (1..MAX) OF PolicyQualifierInfo OPTIONAL }
tavik_cert_certpolicies *tavik_cert_ext_tocertpolicies(const tavik_cert_ext *ext)
{
    return wrap<tavik_cert_certpolicies>(
        decodeWhole<CERTIFICATEPOLICIES, CERTIFICATEPOLICIES_it>(ext));
}

void tavik_cert_certpolicies_free(tavik_cert_certpolicies *policies)
{
    freeObject(policies);
}

int tavik_cert_certpolicies_getitemcount(const tavik_cert_certpolicies *policies)
{
    return listCount(policies);
}

tavik_cert_policyinfo *tavik_cert_certpolicies_getitem(const tavik_cert_certpolicies *policies,
                                                       int index)
{
    return listItem<tavik_cert_policyinfo, POLICYINFO>(policies, index);
}

void tavik_cert_policyinfo_free(tavik_cert_policyinfo *info)
{
    freeObject(info);
}

char *tavik_cert_policyinfo_getid(const tavik_cert_policyinfo *info)
{
    return info ? dottedOid(info->value->policyid) : nullptr;
}

int tavik_cert_policyinfo_hasqualifier(const tavik_cert_policyinfo *info)
{
    return info && sk_POLICYQUALINFO_num(info->value->qualifiers) > 0 ? 1 : 0;
}

int tavik_cert_policyinfo_getqualifiercount(const tavik_cert_policyinfo *info)
{
    if (!info)
        return -1;
    const int count = sk_POLICYQUALINFO_num(info->value->qualifiers);
    return count > 0 ? count : 0;
}

// PolicyQualifierInfo ::= SEQUENCE { policyQualifierId PolicyQualifierId,
//     qualifier ANY DEFINED BY policyQualifierId }
tavik_cert_polqualifierinfo *tavik_cert_policyinfo_getqualifier(const tavik_cert_policyinfo *info,
                                                                int index)
{
    if (!info)
        return nullptr;
    return wrap<tavik_cert_polqualifierinfo>(
        partOf(info->value, sk_POLICYQUALINFO_value(info->value->qualifiers, index)));
}

void tavik_cert_polqualifierinfo_free(tavik_cert_polqualifierinfo *qualifier)
{
    freeObject(qualifier);
}

char *tavik_cert_polqualifierinfo_getid(const tavik_cert_polqualifierinfo *qualifier)
{
    return qualifier ? dottedOid(qualifier->value->pqualid) : nullptr;
}

// CPSuri ::= IA5String
tavik_ustring *tavik_cert_polqualifierinfo_getcpsuri(const tavik_cert_polqualifierinfo *qualifier)
{
    if (qualifierNid(qualifier) != NID_id_qt_cps)
        return nullptr;
    return tavik::detail::newUString(qualifier->value->d.cpsuri);
}

// UserNotice ::= SEQUENCE { noticeRef NoticeReference OPTIONAL,
//                           explicitText DisplayText OPTIONAL }
tavik_cert_usernotice *
tavik_cert_polqualifierinfo_getusernotice(const tavik_cert_polqualifierinfo *qualifier)
{
    if (qualifierNid(qualifier) != NID_id_qt_unotice)
        return nullptr;
    return wrap<tavik_cert_usernotice>(partOf(qualifier->value, qualifier->value->d.usernotice));
}

tavik_data_blob *
tavik_cert_polqualifierinfo_getqualifierencode(const tavik_cert_polqualifierinfo *qualifier)
{
    if (!qualifier)
        return nullptr;
    // The qualifier was read by its id, so it is encoded back the same way.
    switch (qualifierNid(qualifier)) {
    case NID_id_qt_cps:
        return tavik::detail::encodeItem(qualifier->value->d.cpsuri, ASN1_IA5STRING_it());
    case NID_id_qt_unotice:
        return tavik::detail::encodeItem(qualifier->value->d.usernotice, USERNOTICE_it());
    default:
        return tavik::detail::encodeItem(qualifier->value->d.other, ASN1_ANY_it());
    }
}

void tavik_cert_usernotice_free(tavik_cert_usernotice *notice)
{
    freeObject(notice);
}

// NoticeReference ::= SEQUENCE { organization DisplayText,
//                                noticeNumbers SEQUENCE OF INTEGER }
tavik_ustring *tavik_cert_usernotice_getreforg(const tavik_cert_usernotice *notice)
{
    if (!notice || !notice->value->noticeref)
        return nullptr;
    return tavik::detail::newUString(notice->value->noticeref->organization);
}

tavik_ustring *tavik_cert_usernotice_getexplicittext(const tavik_cert_usernotice *notice)
{
    if (!notice || !notice->value->exptext)
        return nullptr;
    return tavik::detail::newUString(notice->value->exptext);
}

int tavik_cert_usernotice_getrefnumberscount(const tavik_cert_usernotice *notice)
{
    if (!notice)
        return -1;
    const NOTICEREF *ref = notice->value->noticeref;
    const int count = ref ? sk_ASN1_INTEGER_num(ref->noticenos) : 0;
    return count > 0 ? count : 0;
}

tavik_biginteger *tavik_cert_usernotice_getrefnumber(const tavik_cert_usernotice *notice, int index)
{
    if (!notice || !notice->value->noticeref)
        return nullptr;
    return tavik::detail::newBigInt(
        sk_ASN1_INTEGER_value(notice->value->noticeref->noticenos, index));
}

} // extern "C"
