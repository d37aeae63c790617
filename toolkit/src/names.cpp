// Names: distinguished names, their RDNs and attributes, general names and
// name-constraint subtrees. A name, its RDNs and attributes share the parsed
// structure they come from; general names hold their own copies.
#include <arpa/inet.h>
#include <openssl/asn1.h>
#include <openssl/objects.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <array>
#include <climits>
#include <cstddef>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cert_data.hpp"
#include "internal.hpp"
#include "objects.hpp"
#include "values.hpp"

namespace {

using tavik::detail::GEN_NAME;
using tavik::detail::GEN_NAMES;
using tavik::detail::guard;
using tavik::detail::NamePtr;
using tavik::detail::ObjectPtr;
using tavik::detail::OsslBytesPtr;
using tavik::detail::partOf;
using tavik::detail::Shared;
using tavik::detail::StringPtr;
using tavik::detail::SUBTREE;
using tavik::detail::SUBTREES;

} // namespace

struct tavik_cert_dn_st {
    std::shared_ptr<const tavik::detail::NAME_RDNS> rdns;
};

struct tavik_cert_rdn_st {
    std::shared_ptr<const tavik::detail::NAME_RDN> attrs;
};

struct tavik_cert_attrtypeandvalue_st {
    std::shared_ptr<const tavik::detail::NAME_ATTR> attr;
};

struct tavik_cert_generalname_st {
    Shared<GEN_NAME> name;
    bool inSubtree;
};

struct tavik_cert_generalnames_st {
    Shared<GEN_NAMES> names;
};

struct tavik_cert_othername_st {
    ObjectPtr type;
    std::vector<unsigned char> value;
};

struct tavik_cert_ediparyname_st {
    StringPtr nameAssigner; // null when absent
    StringPtr partyName;
};

struct tavik_cert_generalsubtree_st {
    Shared<SUBTREE> value;
};

struct tavik_cert_generalsubtrees_st {
    Shared<SUBTREES> value;
};

namespace {

using tavik::detail::newObject;

using tavik::detail::NAME_ATTR;
using tavik::detail::NAME_RDN;
using tavik::detail::NAME_RDNS;

// inet_ntop writes RFC 5952 text for IPv6 (lower case, no leading zeros,
// the first longest run of zero groups as "::") and IPv4-mapped addresses
// with their dotted tail.
std::string ipv6Text(const unsigned char *bytes)
{
    char text[INET6_ADDRSTRLEN];
    return inet_ntop(AF_INET6, bytes, text, sizeof text) ? text : "";
}

std::string ipv4Text(const unsigned char *bytes)
{
    char text[INET_ADDRSTRLEN];
    return inet_ntop(AF_INET, bytes, text, sizeof text) ? text : "";
}

// iPAddress OCTET STRING: 4 or 16 bytes of address; in a name-constraint
// subtree (RFC 5280 4.2.1.10) the address followed by a mask of equal length.
struct IpForm {
    int length;
    bool inSubtree;
    std::size_t addressLength;
};

constexpr std::array<IpForm, 4> kIpForms{{
    {4, false, 4},
    {16, false, 16},
    {8, true, 4},
    {32, true, 16},
}};

std::optional<std::string> ipText(const ASN1_OCTET_STRING *address, bool inSubtree)
{
    const int length = ASN1_STRING_length(address);
    const unsigned char *bytes = ASN1_STRING_get0_data(address);
    for (const auto &form : kIpForms) {
        if (form.length != length || form.inSubtree != inSubtree || !bytes)
            continue;
        const auto text = form.addressLength == 4 ? ipv4Text : ipv6Text;
        if (!inSubtree)
            return text(bytes);
        return text(bytes) + "/" + text(bytes + form.addressLength);
    }
    return std::nullopt;
}

const GEN_NAME *choice(const tavik_cert_generalname *name, int type)
{
    return name && name->name && name->name->type == type ? name->name.get() : nullptr;
}

tavik_ustring *ia5Choice(const tavik_cert_generalname *name, int type)
{
    const GEN_NAME *gn = choice(name, type);
    return gn ? tavik::detail::newUString(gn->d.ia5) : nullptr;
}

} // namespace

namespace tavik::detail {

tavik_cert_dn *newDn(std::shared_ptr<const NAME_RDNS> rdns) noexcept
{
    return rdns ? newObject<tavik_cert_dn_st>(std::move(rdns)) : nullptr;
}

// RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
tavik_cert_rdn *newRdn(Shared<NAME_RDN> rdn) noexcept
{
    return rdn ? newObject<tavik_cert_rdn_st>(std::move(rdn)) : nullptr;
}

NamePtr x509NameOf(const NAME_RDNS *rdns) noexcept
{
    return guard<NamePtr>(nullptr, [&]() -> NamePtr {
        unsigned char *out = nullptr;
        const int length = ASN1_item_i2d(reinterpret_cast<const ASN1_VALUE *>(rdns), &out,
                                         tavik::detail::NAME_RDNS_it());
        const OsslBytesPtr owned(out);
        if (length <= 0)
            return nullptr;
        const unsigned char *p = out;
        return NamePtr(d2i_X509_NAME(nullptr, &p, length));
    });
}

tavik_cert_generalname *newGeneralName(Shared<GEN_NAME> name, bool inSubtree) noexcept
{
    return name ? newObject<tavik_cert_generalname_st>(std::move(name), inSubtree) : nullptr;
}

// GeneralNames ::= SEQUENCE SIZE (1..MAX) OF GeneralName
tavik_cert_generalnames *newGeneralNames(Shared<GEN_NAMES> names) noexcept
{
    return names ? newObject<tavik_cert_generalnames_st>(std::move(names)) : nullptr;
}

// GeneralSubtree ::= SEQUENCE {
//     base GeneralName, minimum [0] BaseDistance DEFAULT 0,
//     maximum [1] BaseDistance OPTIONAL }
tavik_cert_generalsubtrees *newGeneralSubtrees(Shared<SUBTREES> subtrees) noexcept
{
    return subtrees ? newObject<tavik_cert_generalsubtrees_st>(std::move(subtrees)) : nullptr;
}

} // namespace tavik::detail

extern "C" {

using tavik::detail::freeObject;

// ---- Distinguished names ----

void tavik_cert_dn_free(tavik_cert_dn *dn)
{
    freeObject(dn);
}

int tavik_cert_dn_getitemcount(const tavik_cert_dn *dn)
{
    return dn ? sk_NAME_RDN_num(dn->rdns.get()) : -1;
}

tavik_cert_rdn *tavik_cert_dn_getitem(const tavik_cert_dn *dn, int index)
{
    if (!dn || index < 0 || index >= tavik_cert_dn_getitemcount(dn))
        return nullptr;
    const std::shared_ptr<const NAME_RDN> rdn(dn->rdns, sk_NAME_RDN_value(dn->rdns.get(), index));
    return newObject<tavik_cert_rdn_st>(rdn);
}

void tavik_cert_rdn_free(tavik_cert_rdn *rdn)
{
    freeObject(rdn);
}

int tavik_cert_rdn_getitemcount(const tavik_cert_rdn *rdn)
{
    return rdn ? sk_NAME_ATTR_num(rdn->attrs.get()) : -1;
}

tavik_cert_attrtypeandvalue *tavik_cert_rdn_getitem(const tavik_cert_rdn *rdn, int index)
{
    if (!rdn || index < 0 || index >= tavik_cert_rdn_getitemcount(rdn))
        return nullptr;
    const std::shared_ptr<const NAME_ATTR> attr(rdn->attrs,
                                                sk_NAME_ATTR_value(rdn->attrs.get(), index));
    return tavik::detail::newObject<tavik_cert_attrtypeandvalue_st>(attr);
}

void tavik_cert_attrtypeandvalue_free(tavik_cert_attrtypeandvalue *atv)
{
    freeObject(atv);
}

// AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY }
char *tavik_cert_attrtypeandvalue_gettype(const tavik_cert_attrtypeandvalue *atv)
{
    return atv ? tavik::detail::dottedOid(atv->attr->type) : nullptr;
}

tavik_ustring *tavik_cert_attrtypeandvalue_getstring(const tavik_cert_attrtypeandvalue *atv)
{
    return atv ? tavik::detail::newUString(tavik::detail::stringOf(atv->attr->value)) : nullptr;
}

tavik_data_blob *tavik_cert_attrtypeandvalue_getvalencode(const tavik_cert_attrtypeandvalue *atv)
{
    return atv ? tavik::detail::encodeBlob(static_cast<const ASN1_TYPE *>(atv->attr->value),
                                           i2d_ASN1_TYPE)
               : nullptr;
}

// ---- General names ----

void tavik_cert_generalnames_free(tavik_cert_generalnames *names)
{
    freeObject(names);
}

int tavik_cert_generalnames_getitemcount(const tavik_cert_generalnames *names)
{
    return names ? sk_GEN_NAME_num(names->names.get()) : -1;
}

tavik_cert_generalname *tavik_cert_generalnames_getitem(const tavik_cert_generalnames *names,
                                                        int index)
{
    if (!names || index < 0 || index >= tavik_cert_generalnames_getitemcount(names))
        return nullptr;
    return tavik::detail::newGeneralName(
        partOf(names->names, sk_GEN_NAME_value(names->names.get(), index)));
}

void tavik_cert_generalname_free(tavik_cert_generalname *name)
{
    freeObject(name);
}

// GeneralName ::= CHOICE { otherName [0], rfc822Name [1], dNSName [2],
//     x400Address [3], directoryName [4], ediPartyName [5],
//     uniformResourceIdentifier [6], iPAddress [7], registeredID [8] }
// OpenSSL's GEN_* numbers are the choice tags, as are TAVIK_GN_*.
int tavik_cert_generalname_gettype(const tavik_cert_generalname *name)
{
    if (!name || !name->name)
        return -1;
    const int type = name->name->type;
    return type >= TAVIK_GN_OTHERNAME && type <= TAVIK_GN_REGID ? type : -1;
}

tavik_ustring *tavik_cert_generalname_getrfc822name(const tavik_cert_generalname *name)
{
    return ia5Choice(name, GEN_EMAIL);
}

tavik_ustring *tavik_cert_generalname_getdnsname(const tavik_cert_generalname *name)
{
    return ia5Choice(name, GEN_DNS);
}

tavik_ustring *tavik_cert_generalname_geturi(const tavik_cert_generalname *name)
{
    return ia5Choice(name, GEN_URI);
}

tavik_cert_dn *tavik_cert_generalname_getdirname(const tavik_cert_generalname *name)
{
    const GEN_NAME *gn = choice(name, GEN_DIRNAME);
    return gn ? tavik::detail::newDn(partOf(name->name, gn->d.directoryName)) : nullptr;
}

char *tavik_cert_generalname_getip(const tavik_cert_generalname *name)
{
    const GEN_NAME *gn = choice(name, GEN_IPADD);
    if (!gn)
        return nullptr;
    return tavik::detail::guard<char *>(nullptr, [&]() -> char * {
        const auto text = ipText(gn->d.iPAddress, name->inSubtree);
        return text ? tavik::detail::dupText(text->data(), text->size()) : nullptr;
    });
}

char *tavik_cert_generalname_getregid(const tavik_cert_generalname *name)
{
    const GEN_NAME *gn = choice(name, GEN_RID);
    return gn ? tavik::detail::dottedOid(gn->d.registeredID) : nullptr;
}

// OtherName ::= SEQUENCE { type-id OBJECT IDENTIFIER,
//                          value [0] EXPLICIT ANY DEFINED BY type-id }
tavik_cert_othername *tavik_cert_generalname_getothername(const tavik_cert_generalname *name)
{
    const GEN_NAME *gn = choice(name, GEN_OTHERNAME);
    if (!gn || !gn->d.otherName || !gn->d.otherName->type_id)
        return nullptr;
    return tavik::detail::guard<tavik_cert_othername *>(nullptr, [&]() -> tavik_cert_othername * {
        auto value = tavik::detail::encode(gn->d.otherName->value, i2d_ASN1_TYPE);
        ObjectPtr type(OBJ_dup(gn->d.otherName->type_id));
        if (!value || !type)
            return nullptr;
        return tavik::detail::newObject<tavik_cert_othername_st>(std::move(type),
                                                                 std::move(*value));
    });
}

void tavik_cert_othername_free(tavik_cert_othername *other)
{
    freeObject(other);
}

char *tavik_cert_othername_gettype(const tavik_cert_othername *other)
{
    return other ? tavik::detail::dottedOid(other->type.get()) : nullptr;
}

tavik_data_blob *tavik_cert_othername_getvalue(const tavik_cert_othername *other)
{
    return other ? tavik_data_blob_new(other->value.data(), other->value.size()) : nullptr;
}

// EDIPartyName ::= SEQUENCE { nameAssigner [0] DirectoryString OPTIONAL,
//                             partyName    [1] DirectoryString }
tavik_cert_ediparyname *tavik_cert_generalname_getediname(const tavik_cert_generalname *name)
{
    const GEN_NAME *gn = choice(name, GEN_EDIPARTY);
    if (!gn || !gn->d.ediPartyName || !gn->d.ediPartyName->partyName)
        return nullptr;
    const EDIPARTYNAME *edi = gn->d.ediPartyName;
    StringPtr assigner(edi->nameAssigner ? ASN1_STRING_dup(edi->nameAssigner) : nullptr);
    StringPtr party(ASN1_STRING_dup(edi->partyName));
    if (!party || (edi->nameAssigner && !assigner))
        return nullptr;
    return tavik::detail::newObject<tavik_cert_ediparyname_st>(std::move(assigner),
                                                               std::move(party));
}

void tavik_cert_ediparyname_free(tavik_cert_ediparyname *edi)
{
    freeObject(edi);
}

tavik_ustring *tavik_cert_ediparyname_getnameassigner(const tavik_cert_ediparyname *edi)
{
    return edi ? tavik::detail::newUString(edi->nameAssigner.get()) : nullptr;
}

tavik_ustring *tavik_cert_ediparyname_getpartyname(const tavik_cert_ediparyname *edi)
{
    return edi ? tavik::detail::newUString(edi->partyName.get()) : nullptr;
}

tavik_data_blob *tavik_cert_generalname_getencode(const tavik_cert_generalname *name)
{
    return name ? tavik::detail::encodeItem(name->name.get(), tavik::detail::GEN_NAME_it())
                : nullptr;
}

// ---- Name-constraint subtrees ----

void tavik_cert_generalsubtrees_free(tavik_cert_generalsubtrees *subtrees)
{
    freeObject(subtrees);
}

int tavik_cert_generalsubtrees_getitemcount(const tavik_cert_generalsubtrees *subtrees)
{
    return subtrees ? sk_SUBTREE_num(subtrees->value.get()) : -1;
}

tavik_cert_generalsubtree *
tavik_cert_generalsubtrees_getitem(const tavik_cert_generalsubtrees *subtrees, int index)
{
    if (!subtrees || index < 0 || index >= tavik_cert_generalsubtrees_getitemcount(subtrees))
        return nullptr;
    auto subtree = partOf(subtrees->value, sk_SUBTREE_value(subtrees->value.get(), index));
    return subtree ? tavik::detail::newObject<tavik_cert_generalsubtree_st>(std::move(subtree))
                   : nullptr;
}

void tavik_cert_generalsubtree_free(tavik_cert_generalsubtree *subtree)
{
    freeObject(subtree);
}

tavik_cert_generalname *tavik_cert_generalsubtree_getbase(const tavik_cert_generalsubtree *subtree)
{
    return subtree
               ? tavik::detail::newGeneralName(partOf(subtree->value, subtree->value->base), true)
               : nullptr;
}

tavik_biginteger *tavik_cert_generalsubtree_getmin(const tavik_cert_generalsubtree *subtree)
{
    return subtree && subtree->value->minimum ? tavik::detail::newBigInt(subtree->value->minimum)
                                              : nullptr;
}

tavik_biginteger *tavik_cert_generalsubtree_getmax(const tavik_cert_generalsubtree *subtree)
{
    return subtree && subtree->value->maximum ? tavik::detail::newBigInt(subtree->value->maximum)
                                              : nullptr;
}

} // extern "C"
