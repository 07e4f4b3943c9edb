#pragma once

#include <QChar>
#include <QString>

namespace storage {

// The form in which texts and keywords are compared by the search: each
// NUL written as U+FFFD (SQLite reads a text only up to a NUL), then
// case-folded as Qt folds. Folding maps each character to one character,
// so a folded keyword is contained in a folded text exactly when
// QString::contains(keyword, Qt::CaseInsensitive) holds for the originals
// (NUL counting as U+FFFD). Internal to the storage library.
inline QString foldedForSearch(QString text)
{
    text.replace(QChar(0), QChar(QChar::ReplacementCharacter));
    return text.toCaseFolded();
}

} // namespace storage
