// FileReplacer: how pastrel-config puts a new configuration or logo raster in place of the old
// one, whole or not at all. The till's printing programs read these files at any moment, a second
// pastrel-config may run at the same time, and the disk may be full: a reader sees the old file or
// the new one, never half of either.
//
//  - Only a regular file (or a missing one) is replaced; a path that names a device, a FIFO or a
//    folder is refused before anything is opened, so a printer's node named by mistake stays.
//  - A symbolic link is followed: the file it names is replaced and the link stays.
//  - The new text goes to a temporary file of its own (unique per run) in the same folder, is
//    checked written and synced to the disk, then renamed over the old file; any failure removes
//    the temporary file and leaves the old file as it was.
//  - The new file keeps the old one's mode (it may hold the database password) and owner and
//    group (run as root, the till user must still read it); when the owner cannot be kept it is
//    refused. A new file gets the mode the umask allows.
#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

namespace FileReplacer {

// The file a write to path replaces (the target of a link), or the empty text with why set
// when it is not a regular file (or a link to a missing one); why does not name path.
QString target(const QString& path, QString* why);

// Replaces the file at path (a target() answer) by bytes; before the rename, check(temporary)
// may refuse the written file with a reason. False with why set when anything failed (naming
// the files).
bool replace(const QString& path, const QByteArray& bytes, QString* why,
             const std::function<QString(const QString&)>& check = {});

// Holds the lock of a folder's files for pastrel-config's read-modify-write: a second run waits
// for the first (bounded), so neither loses the other's change.
class FolderLock {
public:
    explicit FolderLock(const QString& folder);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;
    bool locked() const { return m_fd >= 0; }
    const QString& error() const { return m_error; }

    static constexpr int kWaitMs = 10000; // another run holds it for milliseconds

private:
    int m_fd = -1;
    QString m_error;
};

} // namespace FileReplacer
