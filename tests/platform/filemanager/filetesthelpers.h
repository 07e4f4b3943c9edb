#pragma once

// Helpers shared by the file library's tests: files made with Qt, an
// independent SHA-256, a small GIF writer (Qt writes no GIF), and a
// recorder for upload callbacks that waits on a condition variable.

#include <QByteArray>
#include <QCryptographicHash>
#include <QFile>
#include <QList>
#include <QPair>
#include <QString>
#include <QThread>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace filetest {

// Generous: only tells a hang from completion.
constexpr int kWaitMs = 60000;

inline QString sha256Hex(const QByteArray& bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

inline QByteArray readAll(const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return QByteArray();
    return f.readAll();
}

inline bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    return f.write(bytes) == bytes.size();
}

// Deterministic, non-trivial bytes.
inline QByteArray patternBytes(qint64 size, quint32 seed)
{
    QByteArray out(size, Qt::Uninitialized);
    quint32 x = seed * 2654435761u + 1u;
    for (qint64 i = 0; i < size; ++i) {
        x ^= x << 13;
        x ^= x >> 17;
        x ^= x << 5;
        out[i] = char(x & 0xff);
    }
    return out;
}

// A GIF89a of `width` x `height` with one frame per entry of `frameColors`
// (each frame filled with that palette index, 0 to 3: red, green, blue,
// white). Two or more frames make an animation. The LZW data sends a clear
// code before every pixel, so codes stay 3 bits wide and no table is built.
inline QByteArray gifBytes(int width, int height, const QList<int>& frameColors)
{
    QByteArray out("GIF89a");
    const auto le16 = [&out](int v) {
        out.append(char(v & 0xff));
        out.append(char((v >> 8) & 0xff));
    };
    le16(width);
    le16(height);
    out.append(char(0xF1)); // global colour table of 4 entries
    out.append(char(0));
    out.append(char(0));
    const unsigned char palette[12] = { 255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255 };
    out.append(reinterpret_cast<const char*>(palette), 12);
    if (frameColors.size() > 1) {
        out.append("\x21\xFF\x0BNETSCAPE2.0\x03\x01", 16);
        out.append(char(0));
        out.append(char(0));
        out.append(char(0));
    }
    for (int color : frameColors) {
        out.append("\x21\xF9\x04\x00\x0A\x00\x00\x00", 8); // 0.1 s per frame
        out.append(char(0x2C));
        le16(0);
        le16(0);
        le16(width);
        le16(height);
        out.append(char(0));
        out.append(char(2)); // LZW minimum code size

        QByteArray data;
        quint32 acc = 0;
        int bits = 0;
        const auto put = [&](int code) {
            acc |= quint32(code) << bits;
            bits += 3;
            while (bits >= 8) {
                data.append(char(acc & 0xff));
                acc >>= 8;
                bits -= 8;
            }
        };
        for (int i = 0; i < width * height; ++i) {
            put(4); // clear
            put(color);
        }
        put(5); // end of information
        if (bits > 0)
            data.append(char(acc & 0xff));
        for (int pos = 0; pos < data.size(); pos += 255) {
            const int n = qMin(255, int(data.size()) - pos);
            out.append(char(n));
            out.append(data.mid(pos, n));
        }
        out.append(char(0));
    }
    out.append(char(0x3B));
    return out;
}

// Records upload callbacks from any thread; waits on a condition variable.
class UploadRecorder
{
public:
    std::function<void(int, int)> callback()
    {
        return [this](int stage, int code) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_calls.append(qMakePair(stage, code));
            m_threads.append(QThread::currentThread());
            m_cv.notify_all();
        };
    }

    // Waits for the stage-1 call; false when none came within the limit.
    bool waitFinished(int timeoutMs = kWaitMs)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_cv.wait_for(lock, std::chrono::milliseconds(timeoutMs), [this] {
            for (const auto& c : m_calls) {
                if (c.first == 1)
                    return true;
            }
            return false;
        });
    }

    QList<QPair<int, int>> calls() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_calls;
    }

    QList<QThread*> threads() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_threads;
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_cv;
    QList<QPair<int, int>> m_calls;
    QList<QThread*> m_threads;
};

} // namespace filetest
