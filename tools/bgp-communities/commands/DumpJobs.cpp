#include "DumpJobs.h"

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "OrderedProblems.h"
#include "input/InputStream.h"
#include "input/IntegerTypes.h"
#include "input/OctetBudget.h"
#include "mrt/MrtRecords.h"
#include "mrt/RecordBatch.h"
#include "mrt/RecordContext.h"
#include "mrt/RecordForms.h"
#include "mrt/RecordParser.h"
#include "text/StandardError.h"

namespace BgpCommunities {

namespace {

using Batch = std::unique_ptr<RecordBatch>;

/// The next task of a thread: a batch to parse, a dump to split, or none at the end.
struct Task {
    Batch batch;
    std::optional<std::size_t> dump;
};

/// The state shared by the threads of one run.
///
/// Owns the batches that no thread is processing. Thread-safe: one mutex guards all members.
class DumpWork {
  public:
    DumpWork(DumpInput const& input, std::size_t jobs, ProblemLog& log)
      : input_(input)
      , jobs_(jobs)
      // With --verbose, the pending problems of later dumps would be unbounded.
      , mostReaders_(log.verbose() ? 1 : jobs)
      , mostOctets_(jobs == 1 ? 0 : readyOctetsInAll)
      , problems_(input.files.size(), log) {}

    std::string_view file(std::size_t dump) const { return input_.files[dump]; }

    AddPath addPath() const { return input_.addPath; }

    /// Waits for the next task. The caller of a dump's task must submit all batches of the dump.
    Task next();
    Batch emptyBatch();
    OctetBudget& budget() { return budget_; }

    /// The number of threads that may decompress one dump.
    unsigned decompressors() const {
        return static_cast<unsigned>(jobs_ / std::min(mostReaders_, input_.files.size()));
    }

    /// Adds a batch to the queue.
    void submit(Batch batch);
    /// Returns a batch to parse now if the queue is over its limit; otherwise none.
    Batch overdue();
    void handleOpened();
    void handleRead(Batch batch, ProblemLog& problems);
    void show(std::size_t dump, InputStream const& input, Progress::Clock::time_point begun);
    /// Makes all threads end. Keeps the first exception.
    void fail(std::exception_ptr failure);
    bool failed() const;

    /// Returns the number of opened files; rethrows the exception passed to `fail()`. REQUIRES: all
    /// threads have ended.
    U64 opened() const;

  private:
    static constexpr std::size_t readyOctetsInAll = 4U << 20;
    static constexpr std::size_t largeOctetsInAll = 2 * std::size_t{maxRibOctets};

    bool mayRead() const { return nextDump_ < input_.files.size() && readers_ < mostReaders_; }

    bool ended() const {
        return nextDump_ == input_.files.size() && readers_ == 0 && ready_.empty();
    }

    Batch takeReady();

    DumpInput const input_;
    std::size_t const jobs_;
    std::size_t const mostReaders_;
    std::size_t const mostOctets_;
    Progress progress_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Batch> ready_;
    std::size_t readyOctets_ = 0;
    std::vector<Batch> spare_;
    std::size_t nextDump_ = 0;
    std::size_t readers_ = 0; // threads that are reading a dump
    U64 opened_ = 0;
    OctetBudget budget_{largeOctetsInAll};
    OrderedProblems problems_;
    std::exception_ptr failure_;
};

Task DumpWork::next() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return failure_ || !ready_.empty() || mayRead() || ended(); });
    if (failure_) {
        return {};
    }
    if (!ready_.empty()) {
        return {takeReady(), {}};
    }
    if (mayRead()) {
        ++readers_;
        return {nullptr, nextDump_++};
    }
    return {};
}

Batch DumpWork::emptyBatch() {
    std::lock_guard const lock(mutex_);
    if (spare_.empty()) {
        return std::make_unique<RecordBatch>();
    }
    Batch batch = std::move(spare_.back());
    spare_.pop_back();
    return batch;
}

void DumpWork::submit(Batch batch) {
    std::lock_guard const lock(mutex_);
    readyOctets_ += batch->octets();
    bool const last = batch->last();
    ready_.push_back(std::move(batch));
    if (last) {
        --readers_;
        changed_.notify_all();
    } else {
        changed_.notify_one();
    }
}

Batch DumpWork::overdue() {
    std::lock_guard const lock(mutex_);
    bool const some = !ready_.empty() && readyOctets_ > mostOctets_;
    return some ? takeReady() : nullptr;
}

Batch DumpWork::takeReady() {
    Batch batch = std::move(ready_.front());
    ready_.pop_front();
    readyOctets_ -= batch->octets();
    if (ended()) {
        changed_.notify_all();
    }
    return batch;
}

void DumpWork::handleOpened() {
    std::lock_guard const lock(mutex_);
    ++opened_;
}

void DumpWork::handleRead(Batch batch, ProblemLog& problems) {
    std::lock_guard const lock(mutex_);
    problems_.handleRead(batch->dump(), batch->sequence(), batch->last(), problems);
    if (!batch->oversized()) {
        spare_.push_back(std::move(batch));
    }
}

void DumpWork::show(std::size_t dump, InputStream const& input, Progress::Clock::time_point begun) {
    if (!progress_.active()) {
        return;
    }
    std::lock_guard const lock(mutex_);
    if (dump == problems_.current()) {
        progress_.show(input, begun);
    }
}

void DumpWork::fail(std::exception_ptr failure) {
    std::lock_guard const lock(mutex_);
    if (!failure_) {
        failure_ = std::move(failure);
    }
    changed_.notify_all();
}

bool DumpWork::failed() const {
    std::lock_guard const lock(mutex_);
    return failure_ != nullptr;
}

U64 DumpWork::opened() const {
    if (failure_) {
        std::rethrow_exception(failure_);
    }
    return opened_;
}

/// Splits a dump into batches, in one thread.
///
/// Owns the input; does not own the work. Thread-compatible.
class DumpCutter {
  public:
    DumpCutter(DumpWork& work, std::size_t dump)
      : work_(work)
      , dump_(dump) {}

    /// Returns the next batch. REQUIRES: the last one has not been returned.
    Batch next() {
        Batch batch = work_.emptyBatch();
        batch->begin(dump_, sequence_++);
        try {
            fill(*batch);
        } catch (InputError const& error) {
            batch->setUnreadable(error.what());
        }
        return batch;
    }

    /// The last batch has a large record, whose share of the budget is held until the next call.
    [[nodiscard]] bool holdsLarge() const { return records_ && records_->holdsLarge(); }

  private:
    void fill(RecordBatch& batch) {
        if (!input_) {
            input_.emplace(std::string(work_.file(dump_)), work_.decompressors());
            records_.emplace(*input_, work_.addPath(), &work_.budget());
            work_.handleOpened();
        }
        batch.setName(input_->name());
        while (!batch.full()) {
            if (!records_->next(record_)) {
                batch.setEnd(records_->end());
                return;
            }
            batch.append(record_);
            work_.show(dump_, *input_, begun_);
        }
    }

    DumpWork& work_;
    std::size_t const dump_;
    Progress::Clock::time_point const begun_ = Progress::Clock::now();
    U64 sequence_ = 0;
    std::optional<InputStream> input_;
    std::optional<MrtRecords> records_;
    MrtRecord record_; // the current one
};

/// The work of one thread. Owns its counters; does not own the handler. Thread-compatible.
class Worker {
  public:
    Worker(DumpWork& work, DumpHandler& handler)
      : work_(work)
      , handler_(handler) {
        handler_.log().setDeferred(true);
    }

    void run() noexcept {
        try {
            for (Task task = work_.next(); task.batch || task.dump; task = work_.next()) {
                if (task.batch) {
                    read(std::move(task.batch));
                } else {
                    cut(*task.dump);
                }
            }
        } catch (...) {
            work_.fail(std::current_exception());
        }
    }

    [[nodiscard]] MrtCounts const& counts() const { return counts_; }

  private:
    void cut(std::size_t dump) {
        DumpCutter cutter(work_, dump);
        for (bool last = false; !last && !work_.failed();) {
            Batch batch = cutter.next();
            last = batch->last();
            if (cutter.holdsLarge() && !last) {
                read(std::move(batch)); // in this thread, so that its share is released soon
            } else {
                work_.submit(std::move(batch));
            }
            while (Batch overdue = work_.overdue()) {
                read(std::move(overdue));
            }
        }
    }

    void read(Batch batch) {
        handler_.startFile(batch->name());
        RecordContext context(batch->name(), counts_, handler_);
        batch->read(parser_, context);
        if (!batch->unreadable().empty()) {
            handler_.log().reportUnreadable(batch->unreadable());
        }
        work_.handleRead(std::move(batch), handler_.log());
    }

    DumpWork& work_;
    DumpHandler& handler_;
    RecordParser parser_;
    MrtCounts counts_;
};

/// Runs the first worker in this thread, and each other one in a new thread.
void runAll(DumpWork& work, std::deque<Worker>& workers) {
    std::vector<std::jthread> threads;
    try {
        for (std::size_t worker = 1; worker < workers.size(); ++worker) {
            threads.emplace_back(&Worker::run, &workers[worker]);
        }
    } catch (...) {
        work.fail(std::current_exception());
    }
    workers.front().run();
}

} // namespace

DumpResult readDumps(DumpInput const& input, std::span<DumpHandler* const> handlers,
                     ProblemLog& log) {
    DumpWork work(input, handlers.size(), log);
    std::deque<Worker> workers;
    for (DumpHandler* const handler : handlers) {
        workers.emplace_back(work, *handler);
    }
    runAll(work, workers);
    DumpResult result;
    result.files = work.opened();
    for (Worker const& worker : workers) {
        result.counts += worker.counts();
    }
    log.summarise();
    result.status = log.status();
    return result;
}

} // namespace BgpCommunities
