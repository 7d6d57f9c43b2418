#include "io/hashqueue.h"

#include <utility>

namespace {

constexpr size_t MOST_FILES = 1024; // under way before the finder hashes one itself

} // namespace

HashQueue::HashQueue(int threadCount) : files(MOST_FILES), mostThreads(static_cast<size_t>(threadCount) - 1) { }

HashQueue::~HashQueue()
{
    isEnding = true;
    toHash.release(static_cast<int>(threads.size()));
    for (const std::unique_ptr<QThread> &thread : threads)
        thread->wait();
}

void HashQueue::add(const QString &path, Use use)
{
    while (added - used == files.size())
        hashOrWait();
    File &file = at(added++);
    file.path = path;
    file.use = std::move(use);
    file.isHashed = false;
    toHash.release();
    if (threads.size() < mostThreads && toHash.available() > 1)
        startThread();
    if (mostThreads == 0)
        finish();
    else
        useHashed();
}

void HashQueue::finish()
{
    while (used < added)
        hashOrWait();
}

HashQueue::File &HashQueue::at(size_t number)
{
    return files[number % files.size()];
}

void HashQueue::startThread()
{
    std::unique_ptr<QThread> thread(QThread::create([this] {
        FileHasher ofThread(QCryptographicHash::Sha1);
        for (toHash.acquire(); !isEnding; toHash.acquire()) {
            hashNext(&ofThread);
            hashed.release();
        }
    }));
    thread->start();
    if (thread->isRunning())
        threads.push_back(std::move(thread));
    else
        mostThreads = threads.size();
}

void HashQueue::hashNext(FileHasher *ownHasher)
{
    File &file = at(taken++);
    file.hash = ownHasher->hash(file.path);
    file.isHashed = true;
}

void HashQueue::hashOrWait()
{
    if (toHash.tryAcquire())
        hashNext(&hasher);
    else
        hashed.acquire();
    useHashed();
}

void HashQueue::useHashed()
{
    for (; used < added && at(used).isHashed; ++used) {
        const File &file = at(used);
        if (!file.hash)
            logReadError(file.path);
        file.use(file.hash);
    }
}
