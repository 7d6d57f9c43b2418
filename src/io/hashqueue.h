#pragma once

#include "io/filehash.h"

#include <QThreadPool>

#include <deque>
#include <functional>
#include <memory>
#include <vector>

/// Computes the SHA-1 of files on several threads, while their finder looks for more.
class HashQueue
{
public:
    using Use = std::function<void(const FileResult<ContentHash> &hash)>;

    /// With one thread, each file is hashed as it is added.
    explicit HashQueue(int threads);
    ~HashQueue();
    Q_DISABLE_COPY_MOVE(HashQueue)

    /// The hash is used on the thread of the caller, by this call or a later one, in the order of the files.
    void add(const QString &path, Use use);

    /// Waits for all hashes, and uses them. To be called in the end.
    void finish();

private:
    struct File
    {
        QString path;
        Use use;
        FileResult<ContentHash> hash;
    };
    struct Batch;

    void startBatch();
    void useOldest();

    FileHasher hasher{QCryptographicHash::Sha1}; // of this thread
    std::vector<File> found; // since the last batch
    std::deque<std::shared_ptr<Batch>> underWay;
    QThreadPool pool; // destroyed first, as it waits for its threads
};
