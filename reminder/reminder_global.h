#pragma once

#include <QtGlobal>

#if defined(REMINDER_LIBRARY)
#define REMINDER_EXPORT Q_DECL_EXPORT
#else
#define REMINDER_EXPORT Q_DECL_IMPORT
#endif
