#pragma once

#include <QByteArray>

// Authenticated encryption of reminder content with an account key
// (XChaCha20-Poly1305 from libsodium). The `key` that travels beside a
// cipher text is a format byte followed by the random nonce; the account
// key itself never leaves the account.
class ContentCipher
{
public:
    static constexpr int KeySize = 32;

    // A 32-byte account key derived from any secret (BLAKE2b).
    static QByteArray deriveKey(const QByteArray& secret);

    explicit ContentCipher(const QByteArray& accountKey);

    bool isValid() const { return m_key.size() == KeySize; }
    QByteArray encrypt(const QByteArray& plain, QByteArray& key) const;
    // A null QByteArray when the data does not authenticate (tampered,
    // truncated, another account's, or a malformed key); otherwise the plain
    // bytes, which may be empty but are never null.
    QByteArray decrypt(const QByteArray& data, const QByteArray& key) const;

private:
    QByteArray m_key;
};
