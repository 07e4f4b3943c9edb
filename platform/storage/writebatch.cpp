#include "writebatch.h"

#include "connection.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace storage {

namespace {

// Lock order: this mutex, then a connection's lock; never the other way.
//
// Both live until the process is gone, never destroyed: the storage worker
// may still be taking an idle step while the process exits (a program that
// ends with exit() runs the static destructors with the worker running), and
// a destroyed registry would be read after its memory was freed.
std::mutex& registryMutex()
{
    static auto* mutex = new std::mutex;
    return *mutex;
}

std::vector<Connection*>& registry()
{
    static auto* connections = new std::vector<Connection*>;
    return *connections;
}

thread_local bool t_grouping = false;
// The connection whose group this thread opened last (only compared, never
// followed: it may be gone).
thread_local const Connection* t_groupConnection = nullptr;

bool commitAll()
{
    std::lock_guard<std::mutex> lock(registryMutex());
    bool ok = true;
    for (Connection* connection : registry())
        ok = connection->commitGroup() && ok;
    t_groupConnection = nullptr;
    return ok;
}

} // namespace

void WriteBatch::begin()
{
    t_grouping = true;
}

bool WriteBatch::commit()
{
    const bool ok = commitAll();
    t_grouping = false;
    return ok;
}

bool WriteBatch::isActive()
{
    return t_grouping;
}

bool WriteBatch::idleStep(std::chrono::milliseconds* retryIn)
{
    if (retryIn)
        *retryIn = std::chrono::milliseconds::zero();
    if (t_grouping)
        return false;
    std::lock_guard<std::mutex> lock(registryMutex());
    bool worked = false;
    const auto waitAtMost = [retryIn](std::chrono::milliseconds wait) {
        if (retryIn && wait.count() > 0 && (retryIn->count() == 0 || wait < *retryIn))
            *retryIn = wait;
    };
    for (Connection* connection : registry()) {
        // One step at a time, the most needed first: the search side, its
        // index's segments, then the log.
        std::chrono::milliseconds wait = std::chrono::milliseconds::zero();
        if (connection->finishBareFilling(&wait) || connection->mergeIndexStep()) {
            worked = true;
            continue;
        }
        waitAtMost(wait);
        worked = connection->checkpointStep(&wait) || worked;
        waitAtMost(wait);
    }
    return worked;
}

void WriteBatch::enter(Connection* connection)
{
    if (!t_grouping)
        return;
    if (t_groupConnection && t_groupConnection != connection)
        commitAll();
    t_groupConnection = connection;
}

void WriteBatch::add(Connection* connection)
{
    std::lock_guard<std::mutex> lock(registryMutex());
    registry().push_back(connection);
}

void WriteBatch::remove(Connection* connection)
{
    std::lock_guard<std::mutex> lock(registryMutex());
    auto& all = registry();
    all.erase(std::remove(all.begin(), all.end(), connection), all.end());
}

} // namespace storage
