#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <filesystem>
#include <functional>

#ifndef Q_OS_UNIX
#include <QFile>
#endif

class QFile;
class QFileDevice;
class QFileInfo;
class QObject;

// What is done in another way on each system, or only on some.

/// A path for the standard library, which throws at texts that are not Unicode, such as halves of letters.
[[nodiscard]] std::filesystem::path systemPath(const QString &path);

/// Opens a regular file for reading, unbuffered and without waiting for anything; fileName() may be empty afterwards.
/// Returns the reason why it cannot be opened, which is empty when it is open.
[[nodiscard]] QString openRegularFile(QFile *file);

/// Reads a regular file once, from start to end. On POSIX systems it makes fewer system calls for each file than QFile,
/// which counts for many small files.
class SequentialFile
{
public:
    explicit SequentialFile(const QString &path);
    ~SequentialFile();
    Q_DISABLE_COPY_MOVE(SequentialFile)

    [[nodiscard]] bool isOpen() const;

    /// Fills the beginning of a buffer. The number of bytes read; 0 at the end, -1 at an error.
    [[nodiscard]] qint64 read(QByteArray *buffer);

private:
#ifdef Q_OS_UNIX
    int descriptor = -1;
#else
    QFile file;
#endif
};

/// Waits until the disk has what was flushed to an open file. False when it refused.
/// Where the system has no such call, true.
[[nodiscard]] bool reachedDisk(const QFileDevice &file);

/// Waits until the disk has the names in a folder. A folder that cannot be opened is ignored.
[[nodiscard]] bool namesReachedDisk(const QString &folder);

/// Gives an open file to the owner and the group of another one, or to the group alone where the system allows no more.
/// False when neither was possible.
bool giveToOwnerOf(const QFileInfo &other, const QFileDevice &file);

/// Call this before long work on strings or bytes. On recent processors Qt leaves the upper halves of the vector
/// registers in use after hashing a string. Until they are cleared, code that uses the lower halves is slower, as most
/// of Qt's and SHA-1 do.
void clearVectorRegisters();

/// A text with line feeds, with the line ends that the system uses.
[[nodiscard]] QByteArray withPlatformLineEnds(QByteArray text);

/// Whether somebody watches what goes to standard error.
[[nodiscard]] bool isErrorOnTerminal();

/// Has the event loop call a function when the system asks the process to end, as at a logout; then it ends. When it
/// is asked again before that, it ends at once. To be called once.
void beforeTermination(QObject *context, const std::function<void()> &function);

/// Makes sure that no file that is opened later takes the place of a standard stream that the caller has closed.
void holdStandardStreams();
