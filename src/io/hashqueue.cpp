#include "io/hashqueue.h"

#include <algorithm>
#include <atomic>
#include <latch>
#include <utility>

namespace {

constexpr size_t FILES_PER_BATCH = 64; // handing one over does not count
constexpr size_t MOST_BATCHES = 128; // under way before the finder waits: about 4 MB

} // namespace

/// Files that all threads hash together, each taking the next one.
struct HashQueue::Batch
{
    explicit Batch(std::vector<File> found) : files(std::move(found)), toHash(static_cast<std::ptrdiff_t>(files.size()))
    {
    }

    void hashFiles()
    {
        FileHasher ofThread(QCryptographicHash::Sha1);
        for (size_t i = taken++; i < files.size(); i = taken++) {
            files[i].hash = ofThread.hash(files[i].path);
            toHash.count_down();
        }
    }

    std::vector<File> files;
    std::atomic<size_t> taken = 0;
    std::latch toHash;
};

HashQueue::HashQueue(int threads)
{
    pool.setMaxThreadCount(threads);
}

HashQueue::~HashQueue() = default;

void HashQueue::add(const QString &path, Use use)
{
    if (pool.maxThreadCount() == 1) {
        use(hasher.hash(path));
        return;
    }
    found.push_back({path, std::move(use), {}});
    if (found.size() < FILES_PER_BATCH)
        return;
    startBatch();
    while (!underWay.empty() && (underWay.front()->toHash.try_wait() || underWay.size() > MOST_BATCHES))
        useOldest();
}

void HashQueue::finish()
{
    startBatch();
    while (!underWay.empty())
        useOldest();
}

void HashQueue::startBatch()
{
    const auto batch = std::make_shared<Batch>(std::exchange(found, {}));
    const size_t threads = std::min(batch->files.size(), static_cast<size_t>(pool.maxThreadCount()));
    for (size_t i = 0; i < threads; ++i)
        pool.start([batch] { batch->hashFiles(); });
    underWay.push_back(batch);
}

void HashQueue::useOldest()
{
    const std::shared_ptr<Batch> oldest = std::move(underWay.front());
    underWay.pop_front();
    oldest->toHash.wait();
    for (const File &file : oldest->files)
        file.use(file.hash);
}
