#include "sharedpreferencebase.h"

SharedPreferenceBase::SharedPreferenceBase(QObject* parent) : QObject(parent) {}

void SharedPreferenceBase::finishList()
{
    m_listFinished = true;
    emit listFinished();
}

void SharedPreferenceBase::restartList()
{
    m_listFinished = false;
}
