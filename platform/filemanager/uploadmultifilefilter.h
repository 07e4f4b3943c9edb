#pragma once

#include <QSharedPointer>
#include <QString>

#include <functional>

class ContentItem;

// One upload request for FileManager::uploadMultiFile(): the content whose
// files are uploaded, who asked, and where the progress goes. Made by
// FileManager::makeFilter(); the caller fills in the rest.
struct UploadMultiFileFilter
{
    // The content whose thumbnail (when valid) and source file are sent.
    QSharedPointer<ContentItem> content;
    // Called on the file manager's worker thread: (0, 0) once the service
    // holds every file under its id, then (1, code) at the end with code 0
    // done, 2 failed, 3 cancelled. Exactly one stage-1 call per upload.
    std::function<void(int stage, int code)> callback;
    // The reminder the upload belongs to; FileManager::cancelUpload() finds
    // the upload by it.
    QString remindId;
    // Reserved by the caller; 0 by default and not read by the manager.
    int flag = 0;
};
