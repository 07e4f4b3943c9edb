#pragma once

// The byte layout the fuzz targets read their fields from, and the writer
// that fuzz/make_corpus.cpp uses to build seeds in the same layout.
//
// An input is a run of fields read front to back:
//   u8, i32, i64   little-endian, fixed width;
//   blob           a u16 length (little-endian) and that many bytes.
// A field cut short by the end of the input reads as zero (or the bytes
// that are left); reading past the end gives zeros and empty blobs. Any
// byte string is therefore a valid input, and the mutator's changes to a
// length only shift where later fields start.

#include <QByteArray>
#include <QtGlobal>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace fuzzinput {

class Reader
{
public:
    Reader(const uint8_t* data, size_t size) : m_data(data), m_size(size) { }

    bool atEnd() const { return m_pos >= m_size; }
    size_t remaining() const { return m_size - m_pos; }

    quint8 u8() { return quint8(unsignedBytes(1)); }
    bool flag() { return (u8() & 1) != 0; }
    qint32 i32() { return qint32(quint32(unsignedBytes(4))); }
    qint64 i64() { return qint64(unsignedBytes(8)); }

    // A length-prefixed blob, at most `max` bytes (the rest of a longer one
    // is skipped).
    QByteArray blob(size_t max = 0xffff)
    {
        const size_t declared = size_t(unsignedBytes(2));
        const size_t take = qMin(declared, remaining());
        QByteArray bytes(reinterpret_cast<const char*>(m_data + m_pos), int(qMin(take, max)));
        m_pos += take;
        return bytes;
    }

    // Everything not read yet.
    QByteArray rest()
    {
        QByteArray bytes(reinterpret_cast<const char*>(m_data + m_pos), int(remaining()));
        m_pos = m_size;
        return bytes;
    }

private:
    quint64 unsignedBytes(int count)
    {
        quint64 value = 0;
        for (int i = 0; i < count && m_pos < m_size; ++i, ++m_pos)
            value |= quint64(m_data[m_pos]) << (8 * i);
        return value;
    }

    const uint8_t* m_data;
    size_t m_size;
    size_t m_pos = 0;
};

class Writer
{
public:
    Writer& u8(quint8 v) { return unsignedBytes(v, 1); }
    Writer& flag(bool v) { return u8(v ? 1 : 0); }
    Writer& i32(qint32 v) { return unsignedBytes(quint32(v), 4); }
    Writer& i64(qint64 v) { return unsignedBytes(quint64(v), 8); }
    Writer& blob(const QByteArray& bytes)
    {
        const int size = qMin(bytes.size(), 0xffff);
        unsignedBytes(quint64(size), 2);
        m_bytes.append(bytes.constData(), size);
        return *this;
    }
    Writer& raw(const QByteArray& bytes)
    {
        m_bytes.append(bytes);
        return *this;
    }

    const QByteArray& bytes() const { return m_bytes; }

private:
    Writer& unsignedBytes(quint64 v, int count)
    {
        for (int i = 0; i < count; ++i)
            m_bytes.append(char((v >> (8 * i)) & 0xff));
        return *this;
    }

    QByteArray m_bytes;
};

} // namespace fuzzinput
