// A ring of blocks from the reader through several workers to the writer.

#include "points/point_stream.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

#include "errors.h"
#include "frame/zxstd/threads.h"
#include "points/line_source.h"
#include "points/result_writer.h"
#include "points/stream_layout.h"
#include "report/progress_line.h"

namespace orbmath_tool {

namespace {

/// Makes points whose numbers could not be read points without a result, for that reason and no other.
void AddUnread(LineBlock* block) {
  if (block->unread.empty()) return;
  std::vector<Refusal> all = block->unread;
  for (Refusal& failure : block->failed) {
    const auto same = [&](const Refusal& refusal) { return refusal.index == failure.index; };
    if (std::none_of(block->unread.begin(), block->unread.end(), same)) all.push_back(std::move(failure));
  }
  std::sort(all.begin(), all.end(), [](const Refusal& a, const Refusal& b) { return a.index < b.index; });
  block->failed = std::move(all);
}

/// A ring of blocks that reader, workers and writer pass on to each other. Each block is owned by exactly one of them;
/// the three counters say by whom, and they alone are behind the lock.
class BlockRing {
 public:
  BlockRing(const StreamOptions& options, PointTask* task, ResultWriter* writer, int workers)
      : options_(options),
        task_(task),
        writer_(writer),
        layouts_(task->Input(), task->Columns(), options.columns),
        slots_(static_cast<std::size_t>(2 * workers + 2)),
        workers_(workers) {}

  StreamResult Run(LineSource* source);

 private:
  struct Slot {
    CharBuffer text;
    CharBuffer output;
    LineBlock block;
    std::shared_ptr<const StreamLayout> layout;
    std::optional<std::size_t> header;  ///< the line of names in the block
    std::size_t errors = 0;
    bool done = false;
  };

  void Read(LineSource* source);
  void Work();
  void Write(std::uint64_t total_bytes);
  void Compute(Slot* slot) const;
  void ShowProgress(std::uint64_t bytes, std::uint64_t total_bytes, ProgressLine* progress) const;

  /// Runs one of the three parts; the first exception stops all of them and is kept for the caller.
  template <class Part>
  void Guard(Part part) {
    try {
      part();
    } catch (...) {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (!error_) error_ = std::current_exception();
      stopped_ = true;
      changed_.notify_all();
    }
  }

  /// Waits until `ready` or a stop. \return false when there is nothing left to do.
  template <class Ready>
  bool Await(std::unique_lock<std::mutex>* lock, Ready ready) {
    changed_.wait(*lock, [&] { return stopped_ || ready(); });
    return !stopped_;
  }

  Slot& At(std::size_t number) { return slots_[number % slots_.size()]; }

  const StreamOptions& options_;
  PointTask* const task_;
  ResultWriter* const writer_;
  StreamLayouts layouts_;
  std::vector<Slot> slots_;
  const int workers_;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::size_t read_ = 0;     // blocks handed on by the reader
  std::size_t taken_ = 0;    // blocks taken up by workers
  std::size_t written_ = 0;  // blocks given back by the writer
  bool input_ended_ = false;
  bool stopped_ = false;
  std::exception_ptr error_;
  StreamResult result_;
};

StreamResult BlockRing::Run(LineSource* source) {
  std::vector<std::thread> threads;
  threads.reserve(static_cast<std::size_t>(workers_) + 1);
  const auto start = [&threads](auto part) {
    try {
      threads.emplace_back(part);
    } catch (const std::system_error& error) {
      throw Failure("the system refuses a thread (" + error.code().message() + "), '--threads 1' takes the fewest");
    }
  };
  // Guarded as well: when the system refuses a thread, those that run have to end first.
  Guard([this, source, &start] {
    for (int i = 0; i < workers_; ++i) start([this] { Guard([this] { Work(); }); });
    start([this, source] { Guard([this, source] { Write(source->TotalBytes()); }); });
    Read(source);
  });
  for (std::thread& thread : threads) thread.join();
  if (error_) std::rethrow_exception(error_);
  return result_;
}

void BlockRing::Read(LineSource* source) {
  std::size_t line = 1;
  while (true) {
    std::unique_lock<std::mutex> lock(mutex_);
    if (!Await(&lock, [this] { return read_ < written_ + slots_.size(); })) return;
    Slot& slot = At(read_);
    lock.unlock();
    const bool more = source->Next(&slot.text);
    if (more) {
      slot.block.first_line = line;
      slot.header.reset();
      slot.layout = layouts_.For(*source, line, &slot.text, &slot.header);
      line += static_cast<std::size_t>(std::count(slot.text.view().begin(), slot.text.view().end(), '\n'));
    }
    lock.lock();
    more ? ++read_ : input_ended_ = true;
    changed_.notify_all();
    if (!more) return;
  }
}

void BlockRing::Work() {
  // The threads are taken up by whole blocks; the library must not start more inside each of them.
  const SatCommonUtils::TZxThreadsScope one(1);
  std::unique_lock<std::mutex> lock(mutex_);
  while (Await(&lock, [this] { return taken_ < read_ || input_ended_; })) {
    if (taken_ == read_) return;
    Slot& slot = At(taken_++);
    lock.unlock();
    Compute(&slot);
    lock.lock();
    slot.done = true;
    changed_.notify_all();
  }
}

void BlockRing::Compute(Slot* slot) const {
  LineBlock& block = slot->block;
  ParseBlock(slot->text.view(), *slot->layout, &block);
  if (slot->header) block.lines[*slot->header].text = slot->layout->header_comment;
  const std::vector<OutputColumn>& columns = task_->Columns();
  block.out.resize(columns.size());
  for (std::vector<double>& column : block.out) column.resize(block.count);
  if (block.count > 0) task_->Compute(&block);
  AddUnread(&block);
  slot->output.clear();
  slot->errors = writer_->Print(block, slot->layout->travellers, &slot->output);
}

void BlockRing::ShowProgress(std::uint64_t bytes, std::uint64_t total_bytes, ProgressLine* progress) const {
  if (!progress->IsDue()) return;
  const double fraction = total_bytes == 0 ? 0.0 : static_cast<double>(bytes) / static_cast<double>(total_bytes);
  progress->Show(std::to_string(result_.points) + " points", fraction);
}

void BlockRing::Write(std::uint64_t total_bytes) {
  ProgressLine progress(options_.output == "-");
  std::uint64_t bytes = 0;
  std::unique_lock<std::mutex> lock(mutex_);
  while (
      Await(&lock, [this] { return (written_ < read_ && At(written_).done) || (input_ended_ && written_ == read_); })) {
    if (written_ == read_) return;
    Slot& slot = At(written_);
    lock.unlock();
    task_->Observe(slot.block);
    writer_->Write(slot.output.view(), slot.layout->travellers);
    result_.points += slot.block.count;
    result_.errors += slot.errors;
    bytes += slot.text.size();
    ShowProgress(bytes, total_bytes, &progress);
    slot.done = false;
    lock.lock();
    ++written_;
    changed_.notify_all();
  }
}

}  // namespace

StreamResult RunPointStream(const StreamOptions& options, PointTask* task) {
  std::string given;
  for (const std::string& point : options.points) given += point + "\n";
  ResultWriter writer(options, *task);
  std::optional<LineSource> source;
  options.points.empty() ? source.emplace(options.inputs) : source.emplace("--point", given);
  const StreamResult result = BlockRing(options, task, &writer, SatCommonUtils::ZxGetThreadsCount()).Run(&*source);
  writer.Finish();
  return result;
}

}  // namespace orbmath_tool
