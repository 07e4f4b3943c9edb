#include "contentcipher.h"

#include <sodium.h>

namespace {

constexpr char kFormatV1 = 1;

bool sodiumReady()
{
    static const bool ready = sodium_init() >= 0;
    return ready;
}

} // namespace

QByteArray ContentCipher::deriveKey(const QByteArray& secret)
{
    if (!sodiumReady())
        return {};
    QByteArray key(KeySize, Qt::Uninitialized);
    crypto_generichash(reinterpret_cast<unsigned char*>(key.data()), size_t(key.size()),
                       reinterpret_cast<const unsigned char*>(secret.constData()),
                       size_t(secret.size()), nullptr, 0);
    return key;
}

ContentCipher::ContentCipher(const QByteArray& accountKey)
{
    if (accountKey.size() == KeySize && sodiumReady())
        m_key = accountKey;
}

QByteArray ContentCipher::encrypt(const QByteArray& plain, QByteArray& key) const
{
    key.clear();
    if (!isValid())
        return {};
    unsigned char nonce[crypto_aead_xchacha20poly1305_ietf_NPUBBYTES];
    randombytes_buf(nonce, sizeof nonce);

    QByteArray out(plain.size() + int(crypto_aead_xchacha20poly1305_ietf_ABYTES), Qt::Uninitialized);
    unsigned long long outLen = 0;
    crypto_aead_xchacha20poly1305_ietf_encrypt(
        reinterpret_cast<unsigned char*>(out.data()), &outLen,
        reinterpret_cast<const unsigned char*>(plain.constData()), size_t(plain.size()),
        nullptr, 0, nullptr, nonce,
        reinterpret_cast<const unsigned char*>(m_key.constData()));
    out.resize(int(outLen));

    key.append(kFormatV1);
    key.append(reinterpret_cast<const char*>(nonce), int(sizeof nonce));
    return out;
}

QByteArray ContentCipher::decrypt(const QByteArray& data, const QByteArray& key) const
{
    if (!isValid())
        return {};
    if (key.size() != 1 + int(crypto_aead_xchacha20poly1305_ietf_NPUBBYTES) || key.at(0) != kFormatV1)
        return {};
    if (data.size() < int(crypto_aead_xchacha20poly1305_ietf_ABYTES))
        return {};

    // Never null on success, so that an empty plain text is told apart from
    // a failure.
    QByteArray out(qMax(1, data.size() - int(crypto_aead_xchacha20poly1305_ietf_ABYTES)),
                   Qt::Uninitialized);
    unsigned long long outLen = 0;
    const auto* nonce = reinterpret_cast<const unsigned char*>(key.constData() + 1);
    if (crypto_aead_xchacha20poly1305_ietf_decrypt(
            reinterpret_cast<unsigned char*>(out.data()), &outLen, nullptr,
            reinterpret_cast<const unsigned char*>(data.constData()), size_t(data.size()),
            nullptr, 0, nonce, reinterpret_cast<const unsigned char*>(m_key.constData()))
        != 0) {
        return {};
    }
    out.resize(int(outLen));
    return out;
}
