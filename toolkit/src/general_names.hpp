// GeneralName and the extension structures that hold one, read by templates
// of our own that mirror OpenSSL's except that a directoryName is read as a
// plain Name (NAME_RDNS). OpenSSL's X509_NAME canonicalises every name it
// decodes, which cost an eighth of a name-heavy certificate's rows, and refuses
// attribute values the rows show in their "HEX: " form. Never installed.
#pragma once

#include <openssl/asn1.h>
#include <openssl/asn1t.h>
#include <openssl/safestack.h>
#include <openssl/x509v3.h>

#include "name_items.hpp"

namespace tavik::detail {

// GeneralName ::= CHOICE { otherName [0], rfc822Name [1] IA5String,
//     dNSName [2] IA5String, x400Address [3], directoryName [4] Name,
//     ediPartyName [5], uniformResourceIdentifier [6] IA5String,
//     iPAddress [7] OCTET STRING, registeredID [8] OBJECT IDENTIFIER }
// type is the choice's index, which is the tag number (GEN_EMAIL...).
struct GEN_NAME {
    int type;
    union {
        char *ptr;
        OTHERNAME *otherName;
        ASN1_IA5STRING *ia5;
        ASN1_STRING *x400Address;
        NAME_RDNS *directoryName;
        EDIPARTYNAME *ediPartyName;
        ASN1_OCTET_STRING *iPAddress;
        ASN1_OBJECT *registeredID;
    } d;
};
DECLARE_ASN1_ITEM(GEN_NAME)
DEFINE_STACK_OF(GEN_NAME)
using GEN_NAMES = STACK_OF(GEN_NAME);
DECLARE_ASN1_ITEM(GEN_NAMES)

struct AUTH_KEYID {
    ASN1_OCTET_STRING *keyid;
    GEN_NAMES *issuer;
    ASN1_INTEGER *serial;
};
DECLARE_ASN1_ITEM(AUTH_KEYID)

struct SUBTREE {
    GEN_NAME *base;
    ASN1_INTEGER *minimum;
    ASN1_INTEGER *maximum;
};
DECLARE_ASN1_ITEM(SUBTREE)
DEFINE_STACK_OF(SUBTREE)
using SUBTREES = STACK_OF(SUBTREE);

struct NAME_CONSTR {
    SUBTREES *permittedSubtrees;
    SUBTREES *excludedSubtrees;
};
DECLARE_ASN1_ITEM(NAME_CONSTR)

// type is TAVIK_DPNAME_FULLNAME (0) or TAVIK_DPNAME_RELATIVE (1).
struct DP_NAME {
    int type;
    union {
        GEN_NAMES *fullname;
        NAME_RDN *relativename;
    } name;
};
DECLARE_ASN1_ITEM(DP_NAME)

struct DIST_PT {
    DP_NAME *distpoint;
    ASN1_BIT_STRING *reasons;
    GEN_NAMES *CRLissuer;
};
DECLARE_ASN1_ITEM(DIST_PT)
DEFINE_STACK_OF(DIST_PT)
using DIST_PTS = STACK_OF(DIST_PT);
DECLARE_ASN1_ITEM(DIST_PTS)

// The BOOLEANs DEFAULT FALSE are ints, 0 when absent.
struct ISSUING_DP {
    DP_NAME *distpoint;
    int onlyuser;
    int onlyCA;
    ASN1_BIT_STRING *onlysomereasons;
    int indirectCRL;
    int onlyattr;
};
DECLARE_ASN1_ITEM(ISSUING_DP)

struct ACCESS_DESC {
    ASN1_OBJECT *method;
    GEN_NAME *location;
};
DECLARE_ASN1_ITEM(ACCESS_DESC)
DEFINE_STACK_OF(ACCESS_DESC)
using ACCESS_DESCS = STACK_OF(ACCESS_DESC);
DECLARE_ASN1_ITEM(ACCESS_DESCS)

} // namespace tavik::detail
