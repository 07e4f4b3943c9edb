#pragma once

// A streaming SHA-256 (libsodium) for the file library's own sources; not
// installed with the public headers.

#include <QByteArray>
#include <QString>

#include <sodium.h>

namespace filemanager::detail {

class Sha256Stream
{
public:
    Sha256Stream()
    {
        static const bool ready = sodium_init() >= 0;
        (void)ready;
        crypto_hash_sha256_init(&m_state);
    }

    void update(const char* data, qint64 size)
    {
        if (size > 0)
            crypto_hash_sha256_update(&m_state, reinterpret_cast<const unsigned char*>(data),
                                      static_cast<unsigned long long>(size));
    }
    void update(const QByteArray& data) { update(data.constData(), data.size()); }

    // The digest as 64 lower-case hex digits; the stream is spent after it.
    QString finalHex()
    {
        unsigned char digest[crypto_hash_sha256_BYTES];
        crypto_hash_sha256_final(&m_state, digest);
        char hex[crypto_hash_sha256_BYTES * 2 + 1];
        sodium_bin2hex(hex, sizeof hex, digest, sizeof digest);
        return QString::fromLatin1(hex, crypto_hash_sha256_BYTES * 2);
    }

private:
    crypto_hash_sha256_state m_state;
};

// Bytes read at a time when a file is hashed or copied.
constexpr qint64 kChunkSize = 256 * 1024;

// Whether `id` has the form of a file id: 64 lower-case hex digits.
inline bool isFileId(const QString& id)
{
    if (id.size() != 64)
        return false;
    for (const QChar c : id) {
        const bool digit = c >= QLatin1Char('0') && c <= QLatin1Char('9');
        const bool letter = c >= QLatin1Char('a') && c <= QLatin1Char('f');
        if (!digit && !letter)
            return false;
    }
    return true;
}

} // namespace filemanager::detail
