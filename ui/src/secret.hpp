// Passwords in Qt strings: every copy the library makes is overwritten before
// its memory is released.
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>

class QLineEdit;

namespace pkiui {

// Overwrites the string's heap buffer in place (also when it is shared: every
// sharer holds the same secret) and empties it.
void wipe(QString &text);
void wipe(QByteArray &bytes);
void wipe(std::optional<QString> &text);

// The field's text as an unshared copy; the field's own buffer is wiped and
// the field emptied as by clearField.
QString takeFieldText(QLineEdit *field);
// Wipes and empties the field, and gives it room to take a typed password
// without moving it. A new field needs this call too.
void clearField(QLineEdit *field);

// The message shown by a password dialog: the fixed default for null, absent
// for bytes that are not valid UTF-8.
std::optional<QString> messageFromUtf8(const char *msg);

// How an absent password is treated: as no password (-18), or converted like
// any text (a 1-byte buffer that cannot hold it, 0).
enum class AbsentPassword { NoPassword, Convert };

// Hands a dialog's password to the caller in toolkit memory sized by UTF-16
// units plus one: 1 when its UTF-8 bytes and NUL fit, 0 when they do not (the
// wiped buffer stays in *out), -3 with *out null when memory runs out, -18
// for "" (and absent, by policy) with *out untouched. Wipes password.
std::int32_t storePassword(std::optional<QString> &password, AbsentPassword absent, char **out);

} // namespace pkiui
