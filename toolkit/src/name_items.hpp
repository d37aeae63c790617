// The ASN.1 items of a distinguished name as the toolkit reads it, shared by
// the certificate's fields and the name objects. Never installed.
#pragma once

#include <openssl/asn1.h>
#include <openssl/asn1t.h>
#include <openssl/safestack.h>

namespace tavik::detail {

// AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY }
// The value is read as ANY: OpenSSL's X509_NAME refuses values of a type it
// does not expect (an INTEGER, a VisibleString), which the rows still show.
struct NAME_ATTR {
    ASN1_OBJECT *type;
    ASN1_TYPE *value;
};
DECLARE_ASN1_ITEM(NAME_ATTR)
DEFINE_STACK_OF(NAME_ATTR)
// RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
using NAME_RDN = STACK_OF(NAME_ATTR);
DECLARE_ASN1_ITEM(NAME_RDN)
DEFINE_STACK_OF(NAME_RDN)
// Name ::= SEQUENCE OF RelativeDistinguishedName
using NAME_RDNS = STACK_OF(NAME_RDN);
DECLARE_ASN1_ITEM(NAME_RDNS)

} // namespace tavik::detail
