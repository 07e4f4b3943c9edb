#pragma once

#include "withoptionsitem.h"

class PollItem : public WithOptionsItem
{
    Q_OBJECT
    Q_PROPERTY(bool multiple READ multiple NOTIFY optionsChanged)
public:
    PollItem(int scene, AccountBase* account, QObject* parent = nullptr);

    bool multiple() const { return m_multiple; }
    void setMultiple(bool multiple);

    void serialize(im::content::Content* out) const override;
    void readFrom(const im::content::Content& in) override;

private:
    bool m_multiple = false;
};
