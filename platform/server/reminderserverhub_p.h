#pragma once

#include <QHash>
#include <QMutex>

class ReminderServer;
class ReminderServerSession;

// What a server and its sessions share. Both sides post to each other only
// while holding the lock, and each side removes itself under the lock before
// it goes away, so a post never reaches an object that is being destroyed.
// Sessions may outlive their server: `server` is then null and they are
// inert.
struct ReminderServerHub
{
    QMutex mutex;
    ReminderServer* server = nullptr;
    QHash<quint64, ReminderServerSession*> sessions;
    quint64 lastSessionId = 0;
};
