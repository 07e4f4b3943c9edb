#pragma once

#include <QtGlobal>
#include <atomic>

// One hour in milliseconds.
extern const qint64 ONE_HOURE;

// Base of every per-account model the host drives. The host calls the
// virtual operations in its account lifecycle; the stop flag asks a running
// load to stop before its next record.
class ModelBase
{
public:
    ModelBase();
    virtual ~ModelBase();

    virtual void initConnection();
    virtual void initData();
    virtual void movingData();
    virtual void loadLocalData(bool connectOnly);
    virtual void prepareToClearData(bool switching);
    virtual void clearData(bool switching);
    virtual void getNewData();

    bool isStopped() const { return m_stop.load(); }
    void setStopped(bool stop) { m_stop.store(stop); }

private:
    std::atomic_bool m_stop{false};
};
