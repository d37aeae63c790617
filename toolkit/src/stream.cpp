// Read-only streams over memory and the ASN.1 reads from them: a whole
// value, or the identifier, length and content octets of one TLV apart.
// Every read leaves the stream where it was when it fails.
#include "asn1.hpp"
#include "objects.hpp"

struct tavik_stream_st {
    const unsigned char *data; // not owned: the caller keeps the bytes alive
    std::size_t length;
    std::size_t pos;
};

namespace {

using tavik::detail::asn1::Bytes;

Bytes bytesOf(const tavik_stream *stream) noexcept
{
    return Bytes(stream->data, stream->length);
}

} // namespace

extern "C" {

tavik_stream *tavik_stream_new_romem(const unsigned char *data, size_t length, int flag,
                                     int reserved)
{
    if (!data || flag != 0 || reserved != 0 || length > tavik::detail::asn1::kMaxLength)
        return nullptr;
    return tavik::detail::newObject<tavik_stream_st>(data, length, std::size_t{0});
}

void tavik_stream_free(tavik_stream *stream)
{
    tavik::detail::freeObject(stream);
}

size_t tavik_stream_remaining(const tavik_stream *stream)
{
    return stream ? stream->length - stream->pos : 0;
}

int tavik_asn1_decode(tavik_stream *stream, int type, tavik_asn1_value **value, int flags)
{
    namespace asn1 = tavik::detail::asn1;
    if (!stream || !value || flags != 0)
        return 0;
    std::size_t pos = stream->pos;
    const auto tlv = asn1::readTyped(bytesOf(stream), pos, type);
    if (!tlv)
        return 0;
    tavik_asn1_value *out = asn1::newValue(type, tlv->content, tlv->encoding.size());
    if (!out)
        return 0;
    stream->pos = pos;
    *value = out;
    return 1;
}

int tavik_asn1_decode_identifier(tavik_stream *stream, int *cls, int *constructed, int *tag)
{
    namespace asn1 = tavik::detail::asn1;
    if (!stream || !cls || !constructed || !tag)
        return 0;
    std::size_t pos = stream->pos;
    asn1::Identifier id{};
    if (!asn1::readIdentifier(bytesOf(stream), pos, id))
        return 0;
    stream->pos = pos;
    *cls = id.cls;
    *constructed = id.constructed ? 1 : 0;
    *tag = id.tag;
    return 1;
}

int tavik_asn1_decode_length(tavik_stream *stream, size_t *length, int *indefinite)
{
    namespace asn1 = tavik::detail::asn1;
    if (!stream || !length || !indefinite)
        return 0;
    std::size_t pos = stream->pos;
    std::size_t value = 0;
    const asn1::LengthForm form = asn1::readLength(bytesOf(stream), pos, value);
    if (form == asn1::LengthForm::Bad)
        return 0;
    stream->pos = pos;
    *indefinite = form == asn1::LengthForm::Indefinite ? 1 : 0;
    *length = value;
    return 1;
}

int tavik_asn1_decode_content(tavik_stream *stream, int type, size_t length,
                              tavik_asn1_value **value)
{
    namespace asn1 = tavik::detail::asn1;
    if (!stream || !value || length > stream->length - stream->pos)
        return 0;
    const Bytes content = bytesOf(stream).subspan(stream->pos, length);
    if (!asn1::contentValid(type, content))
        return 0;
    tavik_asn1_value *out = asn1::newValue(type, content, length);
    if (!out)
        return 0;
    stream->pos += length;
    *value = out;
    return 1;
}

} // extern "C"
