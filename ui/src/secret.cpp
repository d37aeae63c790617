#include "secret.hpp"

#include <QLineEdit>
#include <QStringDecoder>

#include <cstring>

#include "Tavik_PKI_Crypto_UI.h"

namespace pkiui {

namespace {

template <class T> void wipeBuffer(T &data)
{
    auto &pointer = data.data_ptr();
    // Only heap buffers: literals and raw data have no header and may be read-only.
    // The whole allocation: characters deleted while typing linger past the size.
    if (pointer.d_ptr()) {
        auto *begin = pointer.data() - pointer.freeSpaceAtBegin();
        explicit_bzero(begin,
                       static_cast<std::size_t>(pointer.constAllocatedCapacity()) * sizeof(*begin));
    }
    data.clear();
}

// A field's text grows in place in this buffer while a PIN is typed, rather
// than through reallocations that would free unwiped prefixes of it.
constexpr qsizetype kFieldCapacity = 128;

void reseatField(QLineEdit *field)
{
    QString empty;
    empty.reserve(kFieldCapacity);
    field->setText(empty);
}

} // namespace

void wipe(QString &text)
{
    wipeBuffer(text);
}

void wipe(QByteArray &bytes)
{
    wipeBuffer(bytes);
}

void wipe(std::optional<QString> &text)
{
    if (text)
        wipe(*text);
    text.reset();
}

QString takeFieldText(QLineEdit *field)
{
    QString shared = field->text();
    QString copy(shared.constData(), shared.size());
    wipe(shared);
    reseatField(field);
    return copy;
}

void clearField(QLineEdit *field)
{
    QString shared = field->text();
    wipe(shared);
    // setText, unlike clear, also drops the undo history, which holds the characters.
    reseatField(field);
}

std::optional<QString> messageFromUtf8(const char *msg)
{
    if (!msg)
        return QStringLiteral("正在使用私钥");
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(QByteArrayView(msg, static_cast<qsizetype>(std::strlen(msg))));
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

std::int32_t storePassword(std::optional<QString> &password, AbsentPassword absent, char **out)
{
    if (!password && absent == AbsentPassword::NoPassword)
        return TAVIKPKIUI_NO_PASSWORD;
    if (password && password->isEmpty()) {
        wipe(password);
        return TAVIKPKIUI_NO_PASSWORD;
    }
    const auto size = static_cast<std::size_t>(password ? password->size() : 0) + 1;
    auto *buffer = static_cast<char *>(TavikPKICryptoAllocMemory(size));
    if (!buffer) {
        *out = nullptr;
        wipe(password);
        return TAVIKPKIUI_NO_MEMORY;
    }
    *out = buffer;
    if (!password) {
        buffer[0] = '\0';
        return TAVIKPKIUI_CONVERSION_FAILED;
    }
    QByteArray utf8 = password->toUtf8();
    wipe(password);
    const bool fits = static_cast<std::size_t>(utf8.size()) + 1 <= size;
    if (fits)
        std::memcpy(buffer, utf8.constData(), static_cast<std::size_t>(utf8.size()) + 1);
    else
        explicit_bzero(buffer, size);
    wipe(utf8);
    return fits ? TAVIKPKIUI_OK : TAVIKPKIUI_CONVERSION_FAILED;
}

} // namespace pkiui
