#pragma once

#include <QIcon>

// The client's icon (a bell on a rounded square), drawn at run time so
// that the client ships no image files.
QIcon deskIcon();
