#pragma once

#include <QString>

class QFileDevice;

// What a power cut must not undo. Where the system has no such call, both are true.

/// Waits until the disk has what was flushed to an open file. False when it refused.
[[nodiscard]] bool reachedDisk(const QFileDevice &file);

/// Waits until the disk has the names in a folder. A folder that cannot be opened is passed over.
[[nodiscard]] bool namesReachedDisk(const QString &folder);
