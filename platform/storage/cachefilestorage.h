#pragma once

#include <QList>
#include <QString>

namespace storage {

class Connection;

// When each cached file was last used, so that a cleaner can drop the
// files nobody has used for long.
class CacheFileStorage
{
public:
    explicit CacheFileStorage(Connection* connection);

    bool updateTimestamp(const QList<QString>& keys, qint64 timestamp);
    // The last use of a key, 0 when it was never stamped.
    qint64 timestamp(const QString& key);

private:
    Connection* m_connection;
};

} // namespace storage
