#include "match_stream.h"

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <vector>

#include "line_blocks.h"
#include "lines.h"
#include "stop_signal.h"
#include "workers.h"

namespace cli {

namespace {

enum class SlotState { EMPTY, IN_WORK, ANSWERED };

struct Slot {
    SlotState state = SlotState::EMPTY;
    uint64_t number = 0;  // of the block in the input, from 0
    LineBlock block;
    KeyAnswers answers;
};

// A stream in progress. Owns the blocks.
class Stream {
public:
    Stream(const InputFile& input, const KeyAnswerer& answerer, const MatchOptions& options,
           AnswerWriter& writer)
        : answerer_(answerer),
          writer_(writer),
          isOrdered_(!options.unordered),
          threads_(options.threads),
          limit_(writer.limitLeft()),
          blocks_(input, stop_),
          slots_(threads_ == 1 || !isOrdered_ ? threads_ : 2 * threads_) {}

    void run() {
        runWorkers(threads_, [this] { work(); });
        if (readFailure_) {
            std::rethrow_exception(readFailure_);
        }
    }

private:
    void work() {
        try {
            while (Slot* slot = takeSlot()) {
                answer(*slot, limit_);
                deliver(*slot);
            }
        } catch (...) {
            const std::lock_guard lock(mutex_);
            stop();
            throw;
        }
    }

    // A slot with the next block of the input; null after the last one.
    Slot* takeSlot() {
        std::unique_lock lock(mutex_);
        Slot* slot = nullptr;
        changed_.wait(lock, [this, &slot] {
            slot = isReading_ ? nullptr : findSlot(SlotState::EMPTY);
            return isOver_ || slot != nullptr;
        });
        if (isOver_) {
            return nullptr;
        }
        isReading_ = true;
        lock.unlock();
        const bool hasBlock = readInto(slot->block);
        lock.lock();
        isReading_ = false;
        if (hasBlock) {
            slot->state = SlotState::IN_WORK;
            slot->number = nextRead_++;
        } else {
            isOver_ = true;
        }
        changed_.notify_all();
        return hasBlock ? slot : nullptr;
    }

    // A failure ends the input: what was read before it is still answered.
    bool readInto(LineBlock& block) {
        try {
            return blocks_.next(block);
        } catch (...) {
            readFailure_ = std::current_exception();
            return false;
        }
    }

    void answer(Slot& slot, uint64_t limit) const {
        slot.answers.restart(limit);
        answerer_.answerLines(slot.block.lines(), slot.block.firstLine(), slot.answers);
    }

    void deliver(Slot& slot) {
        std::unique_lock lock(mutex_);
        slot.state = SlotState::ANSWERED;
        if (isWriting_) {
            return;
        }
        isWriting_ = true;
        for (Slot* next = findToWrite(); next != nullptr && !isStopped_; next = findToWrite()) {
            lock.unlock();
            const bool wantsMore = write(*next);
            lock.lock();
            next->state = SlotState::EMPTY;
            ++nextWritten_;
            if (!wantsMore) {
                stop();
            }
            changed_.notify_all();
        }
        isWriting_ = false;
    }

    // Returns false when enough keys are selected.
    bool write(Slot& slot) {
        if (writer_.isTooMuch(slot.answers)) {
            answer(slot, writer_.limitLeft());
        }
        writer_.write(slot.answers);
        return writer_.limitLeft() != 0;
    }

    Slot* findSlot(SlotState state) {
        const auto found = std::find_if(slots_.begin(), slots_.end(),
                                        [state](const Slot& slot) { return slot.state == state; });
        return found == slots_.end() ? nullptr : &*found;
    }

    Slot* findToWrite() {
        const auto found = std::find_if(slots_.begin(), slots_.end(), [this](const Slot& slot) {
            return slot.state == SlotState::ANSWERED &&
                   (!isOrdered_ || slot.number == nextWritten_);
        });
        return found == slots_.end() ? nullptr : &*found;
    }

    // Ends all threads, also one that waits for input.
    void stop() {
        isOver_ = true;
        isStopped_ = true;
        stop_.request();
        changed_.notify_all();
    }

    const KeyAnswerer& answerer_;
    AnswerWriter& writer_;  // of the thread that writes
    const bool isOrdered_;
    const uint32_t threads_;
    const uint64_t limit_;

    StopSignal stop_;
    LineBlocks blocks_;  // of the thread that reads
    std::exception_ptr readFailure_;

    std::mutex mutex_;  // of all that follows; a slot in work is its thread's
    std::condition_variable changed_;
    std::vector<Slot> slots_;
    uint64_t nextRead_ = 0;
    uint64_t nextWritten_ = 0;
    bool isReading_ = false;
    bool isWriting_ = false;
    bool isOver_ = false;     // nothing more is read
    bool isStopped_ = false;  // nothing more is written
};

// Answers, and writes, one line after the other.
void answerLineByLine(const InputFile& input, const KeyAnswerer& answerer, AnswerWriter& writer) {
    const StopSignal stop;
    LineBlocks blocks(input, stop);
    KeyAnswers answers;
    for (LineBlock block; blocks.next(block);) {
        Lines lines(block.lines());
        std::string_view line;
        for (uint64_t number = block.firstLine(); lines.next(line); ++number) {
            answers.restart(writer.limitLeft());
            answerer.answerLines(line, number, answers);
            writer.write(answers);
            if (writer.limitLeft() == 0) {
                return;
            }
        }
    }
}

}  // namespace

void answerStream(const InputFile& input, const KeyAnswerer& answerer, const MatchOptions& options,
                  bool isLineByLine, AnswerWriter& writer) {
    if (writer.limitLeft() == 0) {
        return;
    }
    if (isLineByLine) {
        answerLineByLine(input, answerer, writer);
    } else {
        Stream(input, answerer, options, writer).run();
    }
}

}  // namespace cli
