#pragma once

#include "io/filehash.h"

#include <QSemaphore>
#include <QThread>

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

/// Computes the SHA-1 of files on several threads, while their finder looks for more. The finder's thread is one of
/// them. Where the system refuses another thread, there are fewer.
class HashQueue
{
public:
    using Use = std::function<void(const FileResult<ContentHash> &hash)>;

    explicit HashQueue(int threadCount);
    ~HashQueue();
    Q_DISABLE_COPY_MOVE(HashQueue)

    /// The hash is used on the thread of the caller, by this call or a later one, in the order of the files. With one
    /// thread, it is used by this call.
    void add(const QString &path, Use use);

    /// Hashes what is left, and uses it. To be called in the end.
    void finish();

private:
    struct File
    {
        QString path;
        Use use;
        FileResult<ContentHash> hash;
        std::atomic<bool> isHashed = false;
    };

    File &at(size_t number);
    void startThread();
    void hashNext(FileHasher *ownHasher);
    void hashOrWait();
    void useHashed();

    FileHasher hasher{QCryptographicHash::Sha1}; // of the finder
    std::vector<File> files; // a ring: file number N is at N modulo its size
    size_t added = 0; // numbers of files, as the next two
    size_t used = 0;
    std::atomic<size_t> taken = 0; // to be hashed
    QSemaphore toHash;
    QSemaphore hashed; // by the other threads
    std::atomic<bool> isEnding = false;
    size_t mostThreads; // the others
    std::vector<std::unique_ptr<QThread>> threads;
};
