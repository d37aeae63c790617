// Typed converters of extension values that carry names or strings: the
// authority key identifier, name constraints, general names, distribution
// points, access descriptions and the IA5 and printable strings.
#include <openssl/asn1.h>
#include <openssl/x509v3.h>

#include "extensions.hpp"
#include "general_names.hpp"
#include "objects.hpp"
#include "values.hpp"

using tavik::detail::ACCESS_DESC;
using tavik::detail::ACCESS_DESCS;
using tavik::detail::AUTH_KEYID;
using tavik::detail::decodeWhole;
using tavik::detail::DIST_PT;
using tavik::detail::DIST_PTS;
using tavik::detail::dottedOid;
using tavik::detail::DP_NAME;
using tavik::detail::freeObject;
using tavik::detail::GEN_NAMES;
using tavik::detail::ISSUING_DP;
using tavik::detail::listCount;
using tavik::detail::listItem;
using tavik::detail::NAME_CONSTR;
using tavik::detail::newObject;
using tavik::detail::partOf;
using tavik::detail::Shared;
using tavik::detail::wrap;

struct tavik_cert_akid_st {
    Shared<AUTH_KEYID> value;
};
struct tavik_cert_nameconstraints_st {
    Shared<NAME_CONSTR> value;
};
struct tavik_cert_crldps_st {
    Shared<DIST_PTS> value;
};
struct tavik_cert_distpoint_st {
    Shared<DIST_PT> value;
};
struct tavik_cert_dpname_st {
    Shared<DP_NAME> value;
};
struct tavik_cert_idp_st {
    Shared<ISSUING_DP> value;
};
struct tavik_cert_accessdescs_st {
    Shared<ACCESS_DESCS> value;
};
struct tavik_cert_accessdesc_st {
    Shared<ACCESS_DESC> value;
};

namespace {

template <class Whole>
tavik_cert_generalnames *namesOrNull(const Shared<Whole> &whole, const GEN_NAMES *names) noexcept
{
    return tavik::detail::newGeneralNames(partOf(whole, names));
}

template <class Whole>
tavik_cert_dpname *newDpName(const Shared<Whole> &whole, const DP_NAME *name) noexcept
{
    return wrap<tavik_cert_dpname>(partOf(whole, name));
}

} // namespace

extern "C" {

// AuthorityKeyIdentifier ::= SEQUENCE { keyIdentifier [0] KeyIdentifier OPTIONAL,
//     authorityCertIssuer [1] GeneralNames OPTIONAL,
//     authorityCertSerialNumber [2] CertificateSerialNumber OPTIONAL }
tavik_cert_akid *tavik_cert_ext_toakid(const tavik_cert_ext *ext)
{
    return wrap<tavik_cert_akid>(decodeWhole<AUTH_KEYID, tavik::detail::AUTH_KEYID_it>(ext));
}

void tavik_cert_akid_free(tavik_cert_akid *akid)
{
    freeObject(akid);
}

tavik_data_blob *tavik_cert_akid_getkeyid(const tavik_cert_akid *akid)
{
    const ASN1_OCTET_STRING *keyid = akid ? akid->value->keyid : nullptr;
    if (!keyid)
        return nullptr;
    const int length = ASN1_STRING_length(keyid);
    return tavik_data_blob_new(ASN1_STRING_get0_data(keyid),
                               length > 0 ? static_cast<std::size_t>(length) : 0);
}

tavik_cert_generalnames *tavik_cert_akid_getissuerissuername(const tavik_cert_akid *akid)
{
    return akid ? namesOrNull(akid->value, akid->value->issuer) : nullptr;
}

tavik_biginteger *tavik_cert_akid_getissuercertsn(const tavik_cert_akid *akid)
{
    return akid ? tavik::detail::newBigInt(akid->value->serial) : nullptr;
}

// NameConstraints ::= SEQUENCE { permittedSubtrees [0] GeneralSubtrees OPTIONAL,
//                                excludedSubtrees  [1] GeneralSubtrees OPTIONAL }
tavik_cert_nameconstraints *tavik_cert_ext_tonameconstraints(const tavik_cert_ext *ext)
{
    return wrap<tavik_cert_nameconstraints>(
        decodeWhole<NAME_CONSTR, tavik::detail::NAME_CONSTR_it>(ext));
}

void tavik_cert_nameconstraints_free(tavik_cert_nameconstraints *nc)
{
    freeObject(nc);
}

tavik_cert_generalsubtrees *
tavik_cert_nameconstraints_getpremit(const tavik_cert_nameconstraints *nc)
{
    if (!nc || !nc->value->permittedSubtrees)
        return nullptr;
    return tavik::detail::newGeneralSubtrees(partOf(nc->value, nc->value->permittedSubtrees));
}

tavik_cert_generalsubtrees *
tavik_cert_nameconstraints_getexclude(const tavik_cert_nameconstraints *nc)
{
    if (!nc || !nc->value->excludedSubtrees)
        return nullptr;
    return tavik::detail::newGeneralSubtrees(partOf(nc->value, nc->value->excludedSubtrees));
}

// SubjectAltName, IssuerAltName, CertificateIssuer ::= GeneralNames
// GeneralNames ::= SEQUENCE SIZE (1..MAX) OF GeneralName
tavik_cert_generalnames *tavik_cert_ext_togeneralnames(const tavik_cert_ext *ext)
{
    return tavik::detail::newGeneralNames(decodeWhole<GEN_NAMES, tavik::detail::GEN_NAMES_it>(ext));
}

// CRLDistributionPoints, FreshestCRL ::= SEQUENCE SIZE (1..MAX) OF DistributionPoint
tavik_cert_crldps *tavik_cert_ext_tocrldp(const tavik_cert_ext *ext)
{
    return wrap<tavik_cert_crldps>(decodeWhole<DIST_PTS, tavik::detail::DIST_PTS_it>(ext));
}

void tavik_cert_crldps_free(tavik_cert_crldps *dps)
{
    freeObject(dps);
}

int tavik_cert_crldps_getitemcount(const tavik_cert_crldps *dps)
{
    return listCount(dps);
}

// DistributionPoint ::= SEQUENCE { distributionPoint [0] DistributionPointName OPTIONAL,
//     reasons [1] ReasonFlags OPTIONAL, cRLIssuer [2] GeneralNames OPTIONAL }
tavik_cert_distpoint *tavik_cert_crldps_getitem(const tavik_cert_crldps *dps, int index)
{
    return listItem<tavik_cert_distpoint, DIST_PT>(dps, index);
}

void tavik_cert_distpoint_free(tavik_cert_distpoint *dp)
{
    freeObject(dp);
}

tavik_cert_dpname *tavik_cert_distpoint_getdpname(const tavik_cert_distpoint *dp)
{
    return dp ? newDpName(dp->value, dp->value->distpoint) : nullptr;
}

tavik_bitset *tavik_cert_distpoint_getreasons(const tavik_cert_distpoint *dp)
{
    return dp ? tavik::detail::newBitSet(dp->value->reasons) : nullptr;
}

tavik_cert_generalnames *tavik_cert_distpoint_getcrlissuer(const tavik_cert_distpoint *dp)
{
    return dp ? namesOrNull(dp->value, dp->value->CRLissuer) : nullptr;
}

// DistributionPointName ::= CHOICE { fullName [0] GeneralNames,
//     nameRelativeToCRLIssuer [1] RelativeDistinguishedName }
void tavik_cert_dpname_free(tavik_cert_dpname *name)
{
    freeObject(name);
}

int tavik_cert_dpname_gettype(const tavik_cert_dpname *name)
{
    if (!name)
        return -1;
    const int type = name->value->type;
    return type == TAVIK_DPNAME_FULLNAME || type == TAVIK_DPNAME_RELATIVE ? type : -1;
}

tavik_cert_generalnames *tavik_cert_dpname_getfullname(const tavik_cert_dpname *name)
{
    if (tavik_cert_dpname_gettype(name) != TAVIK_DPNAME_FULLNAME)
        return nullptr;
    return namesOrNull(name->value, name->value->name.fullname);
}

tavik_cert_rdn *tavik_cert_dpname_getrelname(const tavik_cert_dpname *name)
{
    if (tavik_cert_dpname_gettype(name) != TAVIK_DPNAME_RELATIVE || !name->value->name.relativename)
        return nullptr;
    return tavik::detail::newRdn(partOf(name->value, name->value->name.relativename));
}

// IssuingDistributionPoint ::= SEQUENCE {
//     distributionPoint [0] DistributionPointName OPTIONAL,
//     onlyContainsUserCerts [1] BOOLEAN DEFAULT FALSE,
//     onlyContainsCACerts [2] BOOLEAN DEFAULT FALSE,
//     onlySomeReasons [3] ReasonFlags OPTIONAL,
//     indirectCRL [4] BOOLEAN DEFAULT FALSE,
//     onlyContainsAttributeCerts [5] BOOLEAN DEFAULT FALSE }
tavik_cert_idp *tavik_cert_ext_toidp(const tavik_cert_ext *ext)
{
    return wrap<tavik_cert_idp>(decodeWhole<ISSUING_DP, tavik::detail::ISSUING_DP_it>(ext));
}

void tavik_cert_idp_free(tavik_cert_idp *idp)
{
    freeObject(idp);
}

tavik_cert_dpname *tavik_cert_idp_getdpname(const tavik_cert_idp *idp)
{
    return idp ? newDpName(idp->value, idp->value->distpoint) : nullptr;
}

// A decoded TRUE keeps its content octet (FF), not 1.
int tavik_cert_idp_isonlycontainsusercerts(const tavik_cert_idp *idp)
{
    return idp && idp->value->onlyuser ? 1 : 0;
}

int tavik_cert_idp_isonlycontainscacerts(const tavik_cert_idp *idp)
{
    return idp && idp->value->onlyCA ? 1 : 0;
}

int tavik_cert_idp_isonlycontainsattrcerts(const tavik_cert_idp *idp)
{
    return idp && idp->value->onlyattr ? 1 : 0;
}

int tavik_cert_idp_isindirectcrl(const tavik_cert_idp *idp)
{
    return idp && idp->value->indirectCRL ? 1 : 0;
}

tavik_bitset *tavik_cert_idp_getconverreasons(const tavik_cert_idp *idp)
{
    return idp ? tavik::detail::newBitSet(idp->value->onlysomereasons) : nullptr;
}

// AuthorityInfoAccessSyntax, SubjectInfoAccessSyntax ::=
//     SEQUENCE SIZE (1..MAX) OF AccessDescription
tavik_cert_accessdescs *tavik_cert_ext_toaccessdescs(const tavik_cert_ext *ext)
{
    return wrap<tavik_cert_accessdescs>(
        decodeWhole<ACCESS_DESCS, tavik::detail::ACCESS_DESCS_it>(ext));
}

void tavik_cert_accessdescs_free(tavik_cert_accessdescs *descs)
{
    freeObject(descs);
}

int tavik_cert_accessdescs_getitemcount(const tavik_cert_accessdescs *descs)
{
    return listCount(descs);
}

// AccessDescription ::= SEQUENCE { accessMethod OBJECT IDENTIFIER,
//                                  accessLocation GeneralName }
tavik_cert_accessdesc *tavik_cert_accessdescs_getitem(const tavik_cert_accessdescs *descs,
                                                      int index)
{
    return listItem<tavik_cert_accessdesc, ACCESS_DESC>(descs, index);
}

void tavik_cert_accessdesc_free(tavik_cert_accessdesc *desc)
{
    freeObject(desc);
}

char *tavik_cert_accessdesc_getmethod(const tavik_cert_accessdesc *desc)
{
    return desc ? dottedOid(desc->value->method) : nullptr;
}

tavik_cert_generalname *tavik_cert_accessdesc_getlocation(const tavik_cert_accessdesc *desc)
{
    if (!desc || !desc->value->location)
        return nullptr;
    return tavik::detail::newGeneralName(partOf(desc->value, desc->value->location));
}

// Netscape URLs and comment ::= IA5String
tavik_ustring *tavik_cert_ext_toia5string(const tavik_cert_ext *ext)
{
    const auto value = decodeWhole<ASN1_IA5STRING, ASN1_IA5STRING_it>(ext);
    return value ? tavik::detail::newUString(value.get()) : nullptr;
}

// National identifiers ::= PrintableString
tavik_ustring *tavik_cert_ext_toprintablestring(const tavik_cert_ext *ext)
{
    const auto value = decodeWhole<ASN1_PRINTABLESTRING, ASN1_PRINTABLESTRING_it>(ext);
    return value ? tavik::detail::newUString(value.get()) : nullptr;
}

} // extern "C"
