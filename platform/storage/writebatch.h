#pragma once

#include <chrono>

namespace storage {

class Connection;

// Lets the thread that runs the storage tasks (the storage worker) group
// the writes of many tasks into one transaction per connection, so that a
// burst of small writes pays for one commit instead of one each.
//
// Between begin() and commit() every write that this thread makes through a
// Connection joins that connection's open group (the first of them opens
// it); commit() makes the group durable. Until then nothing of the group is
// on disk: whoever is told that such a write is done must be told after
// commit() (ThreadManager defers those reports). A write from any other
// thread while a group is open commits the group together with itself, so
// that a write call that returns on another thread has been committed, as
// it always was. Reads on the connection see the group's writes at once.
class WriteBatch
{
public:
    // From now on this thread's writes are grouped.
    static void begin();
    // Commits every open group and stops grouping on this thread. False
    // when a commit failed (logged): the writes of that group are lost.
    static bool commit();
    // Whether this thread groups its writes.
    static bool isActive();

    // Upkeep for a worker with nothing else to do: for each open
    // connection, building what filling bare left out once its writes have
    // paused (Connection::finishBareFilling), else one step of merging its
    // search index (Connection::mergeIndexStep), each a transaction of its
    // own. True when a step did something: call again while idle. When
    // there is work that waits for the writes' pause, *retryIn (if given)
    // says when to call again; otherwise it is set to zero.
    static bool idleStep(std::chrono::milliseconds* retryIn = nullptr);

    // Call before taking a connection's lock for a write. On the grouping
    // thread, a group open on another connection is committed first: two
    // connections of one file would otherwise wait for each other's write
    // lock on a single thread.
    static void enter(Connection* connection);

private:
    friend class Connection;
    // Every live connection, so that commit() reaches each open group.
    static void add(Connection* connection);
    static void remove(Connection* connection);
};

} // namespace storage
