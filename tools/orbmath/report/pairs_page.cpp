// The page of pairs.

#include "report/pairs_page.h"

#include <algorithm>
#include <cmath>

#include "report/page.h"
#include "report/page_plots.h"
#include "rpc/rpc_boxes.h"
#include "rpc/viewing_geometry.h"

namespace orbmath_tool {

using SatCommonUtils::TStereoImage;
using SatCommonUtils::TStereoPair;

namespace {

// What a map shows of many; more would be a blot.
constexpr std::size_t kMostImages = 300;
constexpr std::size_t kMostOverlaps = 10;

std::string NameOf(const PairsStory& story, std::size_t image) { return FileName(story.models[image].name); }

std::string NameOf(const PairsStory& story, const TStereoPair& pair) {
  return NameOf(story, pair.first) + " + " + NameOf(story, pair.second);
}

/// The height of the ground that the model was made for, or the one that was asked for.
double HeightOf(const PairsStory& story, const SatCommonUtils::TRPC& model) {
  return story.options.height.value_or(SatCommonUtils::GroundBoxOf(model).height.Normalized2Initial(0.0));
}

/// Images of pairs that meet the criteria.
std::vector<bool> PairedImages(const PairsStory& story) {
  std::vector<bool> paired(story.images.size());
  for (std::size_t i = 0; i < story.search.accepted; ++i) {
    paired[story.search.pairs[i].first] = true;
    paired[story.search.pairs[i].second] = true;
  }
  return paired;
}

PageFigure Map(const PairsStory& story) {
  GroundMap map;
  std::size_t known = 0;
  for (std::size_t i = 0; i < story.images.size(); ++i) {
    const SatCommonUtils::TRPC* const model = story.images[i].model;
    if (model == nullptr || ++known > kMostImages) continue;
    constexpr int kPointsPerSide = 2;
    const auto footprint = SatCommonUtils::FootprintAt(*model, HeightOf(story, *model), kPointsPerSide);
    if (footprint) map.outlines.push_back(OutlineOf(NameOf(story, i), footprint.ring));
  }
  SatCommonUtils::TStereoPairOptions options = story.options;
  options.overlaps = true;
  const std::size_t best = std::min(story.listed, kMostOverlaps);
  for (std::size_t i = 0; i < best; ++i) {
    const TStereoPair& pair = story.search.pairs[i];
    const TStereoPair seen = LookAtPair(story.images[pair.first], story.images[pair.second], options);
    for (const SatCommonUtils::TPolygon& part : seen.overlap) {
      map.outlines.push_back(
          OutlineOf("rank " + std::to_string(i + 1) + ": " + NameOf(story, pair), part, PageTone::Second));
    }
  }
  map.outline_names.plain = "image";
  if (best > 0)
    map.outline_names.second =
        best == 1 ? "overlap of the best pair" : "overlaps of the best " + PageCount(best) + " pairs";
  std::string caption = "Images on the ground and what pairs of them have in common. North is up.";
  if (known > kMostImages)
    caption += " The first " + PageCount(kMostImages) + " of " + PageCount(known) + " images are drawn.";
  return MapFigure("Where the images lie", caption, map);
}

PageFigure Sky(const PairsStory& story) {
  const std::vector<bool> paired = PairedImages(story);
  std::vector<SkyMark> marks;
  ToneNames names;
  for (std::size_t i = 0; i < story.images.size() && marks.size() < 2 * kMostImages; ++i) {
    const TStereoImage& image = story.images[i];
    if (image.model == nullptr) continue;
    const SatCommonUtils::TImageBox box = SatCommonUtils::ImageBoxOf(*image.model);
    SatCommonUtils::TViewingGeometry view =
        SatCommonUtils::ViewingGeometryAt(*image.model, box.line.Normalized2Initial(0.0),
                                          box.sample.Normalized2Initial(0.0), HeightOf(story, *image.model));
    if (image.radar) view = SatCommonUtils::AsRadar(view);
    if (!view) continue;
    marks.push_back({NameOf(story, i), view.azimuth, view.incidence, paired[i] ? PageTone::Plain : PageTone::Second});
    (paired[i] ? names.plain : names.second) = paired[i] ? "in a pair that meets the criteria" : "in none";
  }
  return SkyFigure("Where the images look from",
                   "The sky over the middle of each image, with the vertical in the middle and north on top. Rings are "
                   "degrees from the vertical. The convergence of a pair is how far apart its two directions are.",
                   marks, names);
}

/// Of all pairs, those that meet the criteria apart from the others.
PageFigure Histogram(const PairsStory& story, const std::string& title, double TStereoPair::*value, const char* name,
                     const char* unit) {
  HistogramSeries accepted{"meet the criteria", {}};
  HistogramSeries others{"do not", {}};
  for (std::size_t i = 0; i < story.search.pairs.size(); ++i) {
    (i < story.search.accepted ? accepted : others).values.push_back(story.search.pairs[i].*value);
  }
  std::vector<HistogramSeries> series;
  if (!accepted.values.empty() || others.values.empty()) series.push_back(std::move(accepted));
  if (!others.values.empty()) series.push_back(std::move(others));
  return HistogramFigure(title, "All pairs that overlap.", series, unit, name, "pairs");
}

std::string FailedText(const PairsStory& story, const TStereoPair& pair) {
  std::string text;
  for (const auto criterion : FailedCriteria(pair, story.criteria)) {
    text += (text.empty() ? "" : ", ") + std::string(PairCriterionName(criterion));
  }
  return text;
}

PageTable PairTable(const PairsStory& story) {
  PageTable table;
  table.caption = "Pairs, the best first";
  table.sorts_and_filters = true;
  table.columns = {{"pair", "", PageColumn::Kind::Text},
                   {"rank", ""},
                   {"meets", "", PageColumn::Kind::Choice},
                   {"overlap", "%"},
                   {"overlap", "km\u00b2"},
                   {"convergence", "\u00b0"},
                   {"bisector", "\u00b0"},
                   {"asymmetry", "\u00b0"},
                   {"base to height", ""},
                   {"sigma of heights", "m"},
                   {"gsd difference", "%"},
                   {"apart", "days"},
                   {"quality", ""}};
  const bool some_fail = story.search.accepted < story.listed;
  if (some_fail) table.columns.push_back({"fails", "", PageColumn::Kind::Text});
  for (std::size_t i = 0; i < std::min(story.listed, kMostTableRows); ++i) {
    const TStereoPair& pair = story.search.pairs[i];
    const bool meets = i < story.search.accepted;
    PageTable::Row row{
        {NameOf(story, pair), std::to_string(i + 1), meets ? "yes" : "no", PageNumber(pair.overlapPercent, 1),
         PageNumber(1e-6 * pair.overlapArea, 2), PageNumber(pair.convergence, 2), PageNumber(pair.bisectorElevation, 2),
         PageNumber(pair.asymmetry, 2), PageNumber(pair.baseToHeight, 3), PageNumber(pair.heightSigma, 2),
         PageNumber(pair.gsdDifference, 1), PageNumber(pair.timeGap, 2), PageNumber(pair.quality, 3)},
        meets ? PageTone::Plain : PageTone::Second};
    if (some_fail) row.cells.push_back(FailedText(story, pair));
    table.rows.push_back(std::move(row));
  }
  if (story.listed > kMostTableRows) {
    table.note = "The best " + PageCount(kMostTableRows) + " pairs of " + PageCount(story.listed) + " are listed.";
  }
  return table;
}

}  // namespace

std::string PairsPageHtml(const PairsStory& story) {
  Page page("pairs", "Stereo pairs of " + PageCount(story.images.size()) + " images", story.search.message);
  page.Section("Summary");
  page.Facts({{"images", PageCount(story.images.size())},
              {"without a footprint", PageCount(story.search.unseen.size())},
              {"pairs that overlap", PageCount(story.search.pairs.size())},
              {"pairs that meet the criteria", PageCount(story.search.accepted)},
              {"sigma of a matched coordinate", PageNumber(story.options.matchingSigma, 2) + " px"},
              {"height of the ground", story.options.height ? PageNumber(*story.options.height, 1) + " m"
                                                            : "amid the heights of both models"}});
  for (const std::size_t i : story.search.unseen) {
    const ListedModel& listed = story.models[i];
    page.Paragraph(listed.model ? listed.name + ": the outline of its image has no ground" : listed.error);
  }
  page.Section("Figures");
  page.Figures(
      {Map(story), Sky(story),
       Histogram(story, "How far the lines of sight converge", &TStereoPair::convergence, "convergence", "\u00b0"),
       Histogram(story, "How much of the smaller image is seen twice", &TStereoPair::overlapPercent, "overlap", "%")});
  page.Section("Pairs");
  if (story.listed == 0) {
    page.Paragraph("There is none.");
  } else {
    page.Table(PairTable(story));
  }
  return page.Html();
}

}  // namespace orbmath_tool
