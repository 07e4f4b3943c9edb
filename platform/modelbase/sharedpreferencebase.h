#pragma once

#include <QObject>

// The account's shared state about its data. listFinished is emitted each
// time the host has finished listing the account's data from the server.
class SharedPreferenceBase : public QObject
{
    Q_OBJECT
public:
    explicit SharedPreferenceBase(QObject* parent = nullptr);

    bool isListFinished() const { return m_listFinished; }
    // Marks the listing finished and emits listFinished.
    void finishList();
    // A new listing starts (after a reconnect, say).
    void restartList();

signals:
    void listFinished();

private:
    bool m_listFinished = false;
};
