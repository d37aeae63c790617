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

using tavik::detail::der::Bytes;

Bytes bytesOf(const tavik_stream *stream) noexcept
{
    return Bytes(stream->data, stream->length);
}

} // namespace

extern "C" {

tavik_stream *tavik_stream_new_romem(const unsigned char *data, size_t length, int flag,
                                     int reserved)
{
    if (!data || flag != 0 || reserved != 0 || length > tavik::detail::der::kMaxLength)
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
    namespace der = tavik::detail::der;
    if (!stream || !value || flags != 0)
        return 0;
    std::size_t pos = stream->pos;
    const auto tlv = der::readTyped(bytesOf(stream), pos, type);
    if (!tlv)
        return 0;
    tavik_asn1_value *out = der::newValue(type, tlv->content, tlv->encoding.size());
    if (!out)
        return 0;
    stream->pos = pos;
    *value = out;
    return 1;
}

int tavik_asn1_decode_identifier(tavik_stream *stream, int *cls, int *constructed, int *tag)
{
    namespace der = tavik::detail::der;
    if (!stream || !cls || !constructed || !tag)
        return 0;
    std::size_t pos = stream->pos;
    der::Identifier id{};
    if (!der::readIdentifier(bytesOf(stream), pos, id))
        return 0;
    stream->pos = pos;
    *cls = id.cls;
    *constructed = id.constructed ? 1 : 0;
    *tag = id.tag;
    return 1;
}

int tavik_asn1_decode_length(tavik_stream *stream, size_t *length, int *indefinite)
{
    namespace der = tavik::detail::der;
    if (!stream || !length || !indefinite)
        return 0;
    std::size_t pos = stream->pos;
    std::size_t value = 0;
    const der::LengthForm form = der::readLength(bytesOf(stream), pos, value);
    if (form == der::LengthForm::Bad)
        return 0;
    stream->pos = pos;
    *indefinite = form == der::LengthForm::Indefinite ? 1 : 0;
    *length = value;
    return 1;
}

int tavik_asn1_decode_content(tavik_stream *stream, int type, size_t length,
                              tavik_asn1_value **value)
{
    namespace der = tavik::detail::der;
    if (!stream || !value || length > stream->length - stream->pos)
        return 0;
    const Bytes content = bytesOf(stream).subspan(stream->pos, length);
    if (!der::contentValid(type, content))
        return 0;
    tavik_asn1_value *out = der::newValue(type, content, length);
    if (!out)
        return 0;
    stream->pos += length;
    *value = out;
    return 1;
}

} // extern "C"
