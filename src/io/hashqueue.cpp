#include "io/hashqueue.h"

#include <QStringList>

#include <atomic>
#include <utility>
#include <vector>

namespace {

// Of one batch: enough that handing it over does not count, and little enough that no thread waits for another's last.
constexpr qsizetype MOST_FILES = 64;
constexpr qint64 MOST_BYTES = 1'000'000;

constexpr size_t BATCHES_PER_THREAD = 4; // under way before the finder has to wait

} // namespace

struct HashQueue::Batch
{
    QStringList paths;
    std::vector<Use> uses;
    qint64 bytes = 0;
    std::vector<FileResult<QString>> hashes;
    std::atomic<bool> isHashed = false;
};

HashQueue::HashQueue(int threads) : batch(std::make_unique<Batch>())
{
    pool.setMaxThreadCount(threads);
}

HashQueue::~HashQueue() = default;

void HashQueue::add(const QString &path, qint64 size, Use use)
{
    if (pool.maxThreadCount() == 1) {
        use(hasher.hash(path));
        return;
    }
    batch->paths.append(path);
    batch->uses.push_back(std::move(use));
    batch->bytes += size;
    if (batch->paths.size() < MOST_FILES && batch->bytes < MOST_BYTES)
        return;
    startBatch();
    const size_t most = BATCHES_PER_THREAD * static_cast<size_t>(pool.maxThreadCount());
    while (!underWay.empty() && (underWay.front()->isHashed || underWay.size() > most))
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
    underWay.push_back(std::exchange(batch, std::make_unique<Batch>()));
    pool.start([started = underWay.back().get()] {
        FileHasher ofThread(QCryptographicHash::Sha1);
        started->hashes.reserve(started->uses.size());
        for (const QString &path : std::as_const(started->paths))
            started->hashes.push_back(ofThread.hash(path));
        started->isHashed = true;
        started->isHashed.notify_one();
    });
}

void HashQueue::useOldest()
{
    const std::unique_ptr<Batch> oldest = std::move(underWay.front());
    underWay.pop_front();
    oldest->isHashed.wait(false);
    for (size_t i = 0; i < oldest->uses.size(); ++i)
        oldest->uses[i](oldest->hashes[i]);
}
