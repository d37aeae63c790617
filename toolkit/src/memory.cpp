#include <openssl/crypto.h>
#include <openssl/objects.h>

#include <atomic>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "internal.hpp"

namespace {

std::atomic<long> g_live{0};
std::atomic<std::int64_t> g_pinnedNow{0};

// Each block carries its size in front so that tavik_free can wipe it and so
// that both release functions accept memory from either allocator.
struct alignas(std::max_align_t) BlockHeader {
    std::size_t size;
    std::uint64_t magic;
};
constexpr std::uint64_t kMagic = 0x54415649'4b4d454dULL;

} // namespace

namespace tavik::detail {

void liveAdd() noexcept
{
    g_live.fetch_add(1, std::memory_order_relaxed);
}
void liveRemove() noexcept
{
    g_live.fetch_sub(1, std::memory_order_relaxed);
}
long liveCount() noexcept
{
    return g_live.load(std::memory_order_relaxed);
}

void pinNow(std::int64_t epochSeconds) noexcept
{
    g_pinnedNow.store(epochSeconds, std::memory_order_relaxed);
}

std::time_t now() noexcept
{
    const std::int64_t pinned = g_pinnedNow.load(std::memory_order_relaxed);
    return pinned != 0 ? static_cast<std::time_t>(pinned) : std::time(nullptr);
}

char *dupText(const char *text, std::size_t length) noexcept
{
    auto *out = static_cast<char *>(tavik_malloc(length + 1, __FILE__, __LINE__));
    if (!out)
        return nullptr;
    if (length)
        std::memcpy(out, text, length);
    out[length] = '\0';
    return out;
}

char *dupText(const char *text) noexcept
{
    return text ? dupText(text, std::strlen(text)) : nullptr;
}

// Written out here rather than through OBJ_obj2txt, which formats through
// BIO_snprintf and cost an eighth of the detail rows' time; arcs beyond 64 bits
// and malformed encodings still go to OpenSSL.
char *dottedOid(const ASN1_OBJECT *oid) noexcept
{
    const int length = oid ? OBJ_length(oid) : 0;
    if (length <= 0)
        return nullptr;
    const unsigned char *bytes = OBJ_get0_data(oid);
    char text[160];
    std::size_t used = 0;
    std::uint64_t arc = 0;
    bool first = true, fast = bytes != nullptr && (bytes[length - 1] & 0x80) == 0;
    for (int i = 0; fast && i < length; ++i) {
        if ((arc == 0 && bytes[i] == 0x80) || arc > (UINT64_MAX >> 7)) {
            fast = false;
            break;
        }
        arc = (arc << 7) | (bytes[i] & 0x7f);
        if (bytes[i] & 0x80)
            continue;
        if (sizeof text - used < 48) {
            fast = false;
            break;
        }
        if (first) {
            const std::uint64_t top = arc < 80 ? arc / 40 : 2;
            used = static_cast<std::size_t>(
                std::to_chars(text + used, text + sizeof text, top).ptr - text);
            arc -= top * 40;
            first = false;
        }
        text[used++] = '.';
        used = static_cast<std::size_t>(std::to_chars(text + used, text + sizeof text, arc).ptr -
                                        text);
        arc = 0;
    }
    if (fast)
        return dupText(text, used);
    // The first call measures: OIDs have no length limit.
    char probe[80];
    const int n = OBJ_obj2txt(probe, sizeof probe, oid, 1);
    if (n <= 0)
        return nullptr;
    if (static_cast<std::size_t>(n) < sizeof probe)
        return dupText(probe, static_cast<std::size_t>(n));
    return guard<char *>(nullptr, [&]() -> char * {
        std::vector<char> buffer(static_cast<std::size_t>(n) + 1);
        if (OBJ_obj2txt(buffer.data(), n + 1, oid, 1) != n)
            return nullptr;
        return dupText(buffer.data(), static_cast<std::size_t>(n));
    });
}

} // namespace tavik::detail

extern "C" {

void *tavik_malloc(size_t size, const char *, int)
{
    if (size > SIZE_MAX - sizeof(BlockHeader))
        return nullptr;
    auto *header = static_cast<BlockHeader *>(std::malloc(sizeof(BlockHeader) + size));
    if (!header)
        return nullptr;
    header->size = size;
    header->magic = kMagic;
    tavik::detail::liveAdd();
    return header + 1;
}

void tavik_free(void *p)
{
    if (!p)
        return;
    auto *header = static_cast<BlockHeader *>(p) - 1;
    if (header->magic != kMagic)
        std::abort(); // not ours, or freed twice: fail loudly rather than corrupt the heap
    header->magic = 0;
    OPENSSL_cleanse(p, header->size);
    std::free(header);
    tavik::detail::liveRemove();
}

void *TavikPKICryptoAllocMemory(size_t size)
{
    return tavik_malloc(size, __FILE__, __LINE__);
}

void TavikPKICryptoFreeMemory(void *p)
{
    tavik_free(p);
}

tavik_data_blob *tavik_data_blob_new(const void *data, size_t length)
{
    if (!data && length)
        return nullptr;
    tavik::BytesPtr bytes(
        static_cast<unsigned char *>(tavik_malloc(length ? length : 1, __FILE__, __LINE__)));
    if (!bytes)
        return nullptr;
    if (length)
        std::memcpy(bytes.get(), data, length);
    auto *blob = tavik::detail::newObject<tavik_data_blob>(bytes.get(), length);
    if (blob)
        bytes.release();
    return blob;
}

void tavik_data_blob_free(tavik_data_blob *blob)
{
    if (!blob)
        return;
    tavik_free(blob->data);
    tavik::detail::freeObject(blob);
}

} // extern "C"
