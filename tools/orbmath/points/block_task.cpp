// Waves of blocks on several threads, written in order.

#include "points/block_task.h"

#include <algorithm>
#include <vector>

#include "frame/zxstd/threads.h"
#include "models/in_parallel.h"
#include "points/result_writer.h"
#include "report/progress_line.h"

namespace orbmath_tool {

namespace {

constexpr std::size_t kBlockPoints = 1024;
/// Blocks that are in memory at a time.
constexpr std::size_t kWave = 64;

struct ResultBlock {
  LineBlock block;
  CharBuffer printed;
  std::size_t errors = 0;
};

void Compute(const BlockTask& task, const ResultWriter& writer, const Travellers& names, std::size_t first,
             std::size_t count, ResultBlock* result) {
  LineBlock& block = result->block;
  block.first_line = first + 1;
  block.count = count;
  block.lines.assign(count, {PointLine::Kind::Point, {}});
  block.texts.assign(1, std::vector<std::string_view>(count));
  block.out.assign(task.Columns().size(), std::vector<double>(count));
  task.Compute(first, &block);
  result->errors = writer.Print(block, names, &result->printed);
}

}  // namespace

StreamResult RunBlocks(const StreamOptions& options, BlockTask* task) {
  ResultWriter writer(options, *task);
  ProgressLine progress(options.output == "-");
  const Travellers names{0, {task->Name()}, false};
  const std::size_t count = task->Count();
  const int threads = SatCommonUtils::ZxGetThreadsCount();
  StreamResult result;
  while (result.points < count) {
    const std::size_t begin = result.points;
    const std::size_t blocks = std::min(kWave, (count - begin + kBlockPoints - 1) / kBlockPoints);
    std::vector<ResultBlock> wave(blocks);
    const auto work = [&](std::size_t i) {
      const std::size_t first = begin + i * kBlockPoints;
      Compute(*task, writer, names, first, std::min(kBlockPoints, count - first), &wave[i]);
    };
    InParallel(blocks, threads, work, [](std::size_t) {});
    for (ResultBlock& block : wave) {
      task->Observe(block.block);
      writer.Write(block.printed.view(), names);
      result.points += block.block.count;
      result.errors += block.errors;
    }
    if (progress.IsDue()) {
      progress.Show(std::to_string(result.points) + " points",
                    static_cast<double>(result.points) / static_cast<double>(count));
    }
  }
  writer.Finish();
  return result;
}

}  // namespace orbmath_tool
