// The page of checks.

#include "report/check_page.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "report/page.h"
#include "report/page_plots.h"

namespace orbmath_tool {

using SatCommonUtils::TFindingSeverity;
using SatCommonUtils::TImageFootprint;
using SatCommonUtils::TModelCheck;
using SatCommonUtils::TModelFinding;

namespace {

/// Outlines that a map draws; more would be a blot.
constexpr std::size_t kMostOutlines = 1000;

enum class Verdict { Fit, Warned, Unfit, Unread };

const char* NameOf(Verdict verdict) {
  constexpr const char* kNames[] = {"fit", "fit, with warnings", "unfit", "cannot be read"};
  return kNames[static_cast<int>(verdict)];
}

/// All that the page says, the heaviest verdicts first.
class CheckPage {
 public:
  CheckPage(const std::vector<ListedModel>& models, const std::vector<TModelCheck>& checks)
      : models_(models), checks_(checks), order_(models.size()) {
    std::iota(order_.begin(), order_.end(), std::size_t{0});
    std::stable_sort(order_.begin(), order_.end(),
                     [&](std::size_t a, std::size_t b) { return VerdictOf(a) > VerdictOf(b); });
  }

  std::string Html() const {
    const std::string what = models_.size() == 1 ? FileNameOf(0) : PageCount(models_.size()) + " models";
    Page page("check", "Check of " + what, Lead());
    page.Section("Summary");
    page.Facts(models_.size() == 1 && models_.front().model ? FactsOfOne() : FactsOfMany());
    page.Section("Figures");
    page.Figures({models_.size() == 1 ? MapOfOne() : MapOfMany(), Sky()});
    if (models_.size() > 1) {
      page.Section("Models");
      page.Table(ModelTable());
    }
    page.Section("Findings");
    const PageTable findings = FindingTable();
    if (findings.rows.empty()) {
      page.Paragraph("Nothing was found.");
    } else {
      page.Table(findings);
    }
    return page.Html();
  }

 private:
  Verdict VerdictOf(std::size_t i) const {
    if (!models_[i].model) return Verdict::Unread;
    if (!checks_[i].IsFit()) return Verdict::Unfit;
    return checks_[i].Count(TFindingSeverity::Warning) > 0 ? Verdict::Warned : Verdict::Fit;
  }
  PageTone ToneOf(std::size_t i) const {
    const Verdict verdict = VerdictOf(i);
    return verdict == Verdict::Fit ? PageTone::Plain : verdict == Verdict::Warned ? PageTone::Second : PageTone::Bad;
  }
  const std::string& NameOfModel(std::size_t i) const {
    return models_[i].model ? models_[i].model->name : models_[i].name;
  }
  std::string FileNameOf(std::size_t i) const { return FileName(NameOfModel(i)); }

  std::size_t CountOf(Verdict verdict) const {
    std::size_t count = 0;
    for (std::size_t i = 0; i < models_.size(); ++i) count += VerdictOf(i) == verdict ? 1 : 0;
    return count;
  }

  std::string Lead() const {
    if (models_.size() == 1) return models_.front().model ? checks_.front().message : models_.front().error;
    std::string lead;
    for (const Verdict verdict : {Verdict::Unread, Verdict::Unfit, Verdict::Warned, Verdict::Fit}) {
      if (CountOf(verdict) > 0)
        lead += (lead.empty() ? "" : "; ") + PageCount(CountOf(verdict)) + " " + NameOf(verdict);
    }
    return lead;
  }

  std::vector<PageFact> FactsOfMany() const {
    std::vector<PageFact> facts = {{"models", PageCount(models_.size())}};
    for (const Verdict verdict : {Verdict::Fit, Verdict::Warned, Verdict::Unfit, Verdict::Unread}) {
      facts.push_back({NameOf(verdict), PageCount(CountOf(verdict))});
    }
    return facts;
  }

  std::vector<PageFact> FactsOfOne() const {
    const TModelCheck& check = checks_.front();
    return {{"model", NameOfModel(0)},
            {"ground sample distance", PageNumber(check.view.gsd, 3) + " m"},
            {"pixel, line by sample",
             PageNumber(check.view.lineSize, 3) + " m by " + PageNumber(check.view.sampleSize, 3) + " m"},
            {"incidence of the line of sight", PageNumber(check.view.incidence, 2) + "\u00b0"},
            {"azimuth towards the sensor", PageNumber(check.view.azimuth, 2) + "\u00b0"},
            {"area", PageNumber(1e-6 * check.footprint.area, 3) + " km\u00b2 at " +
                         PageNumber(check.footprint.height, 1) + " m"},
            {"image to ground to image, worst", PageNumber(check.roundTrip, 6) + " px"},
            {"lines of sight off straight ones", PageNumber(check.bentSight, 3) + " px"}};
  }

  PageFigure MapOfOne() const {
    const TModelCheck& check = checks_.front();
    GroundMap map;
    const auto add = [&](const TImageFootprint& footprint, const std::string& at, PageTone tone) {
      if (footprint)
        map.outlines.push_back(OutlineOf(at + ", " + PageNumber(footprint.height, 0) + " m", footprint.ring, tone));
    };
    add(check.lowFootprint, "lowest height", PageTone::Second);
    add(check.highFootprint, "highest height", PageTone::Second);
    add(check.footprint, "mean height", PageTone::Plain);
    if (!map.outlines.empty()) map.outline_names = {"mean height", "both ends of its heights", ""};
    return MapFigure("Where the image lies",
                     "The outline of the image on the ground at " + PageNumber(check.footprint.height, 0) +
                         " m, and at the ends of the model's heights, " + PageNumber(check.lowFootprint.height, 0) +
                         " m and " + PageNumber(check.highFootprint.height, 0) +
                         " m: they lie the farther apart the more oblique the view is. North is up.",
                     map);
  }

  PageFigure MapOfMany() const {
    GroundMap map;
    map.labels = true;
    // Fit ones first: what is wrong lies on top, and stays when there are too many.
    for (std::size_t k = order_.size(); k-- > 0;) {
      const std::size_t i = order_[k];
      if (!models_[i].model || !checks_[i].footprint || k >= kMostOutlines) continue;
      map.outlines.push_back(OutlineOf(FileNameOf(i), checks_[i].footprint.ring, ToneOf(i)));
      AddName(VerdictOf(i), &map.outline_names);
    }
    std::string caption = "Each outline is an image on the ground at the middle of its model's heights. North is up.";
    if (order_.size() > kMostOutlines) {
      caption += " The heaviest " + PageCount(kMostOutlines) + " of " + PageCount(order_.size()) + " are drawn.";
    }
    return MapFigure("Where the images lie", caption, map);
  }

  PageFigure Sky() const {
    std::vector<SkyMark> marks;
    ToneNames names;
    for (std::size_t k = std::min(order_.size(), kMostOutlines); k-- > 0;) {
      const std::size_t i = order_[k];
      if (!models_[i].model || !checks_[i].view) continue;
      marks.push_back({FileNameOf(i), checks_[i].view.azimuth, checks_[i].view.incidence, ToneOf(i)});
      AddName(VerdictOf(i), &names);
    }
    return SkyFigure(
        "Where the images look from",
        "The sky over the middle of each image, with the vertical in the middle and north on top. Rings are "
        "degrees from the vertical, the incidence of the line of sight.",
        marks, names);
  }

  static void AddName(Verdict verdict, ToneNames* names) {
    (verdict == Verdict::Fit      ? names->plain
     : verdict == Verdict::Warned ? names->second
                                  : names->bad) = NameOf(verdict);
  }

  PageTable ModelTable() const {
    PageTable table;
    table.caption = "Models, the heaviest verdicts first";
    table.sorts_and_filters = true;
    table.columns = {{"model", "", PageColumn::Kind::Text},
                     {"verdict", "", PageColumn::Kind::Choice},
                     {"warnings", ""},
                     {"gsd", "m"},
                     {"incidence", "\u00b0"},
                     {"azimuth", "\u00b0"},
                     {"area", "km\u00b2"},
                     {"round trip", "px"}};
    for (std::size_t k = 0; k < std::min(order_.size(), kMostTableRows); ++k) {
      const std::size_t i = order_[k];
      const TModelCheck& check = checks_[i];
      const auto number = [&](double value, int digits) { return PageNumber(models_[i].model ? value : NAN, digits); };
      table.rows.push_back({{NameOfModel(i), NameOf(VerdictOf(i)), PageCount(check.Count(TFindingSeverity::Warning)),
                             number(check.view.gsd, 3), number(check.view.incidence, 2), number(check.view.azimuth, 2),
                             number(1e-6 * check.footprint.area, 2), number(check.roundTrip, 6)},
                            ToneOf(i)});
    }
    LimitNote(order_.size(), "models", &table);
    return table;
  }

  PageTable FindingTable() const {
    PageTable table;
    table.caption = "Findings, those of the heaviest verdicts first";
    table.sorts_and_filters = true;
    table.columns = {{"model", "", PageColumn::Kind::Text},  {"severity", "", PageColumn::Kind::Choice},
                     {"kind", "", PageColumn::Kind::Choice}, {"what", "", PageColumn::Kind::Text},
                     {"where", "", PageColumn::Kind::Text},  {"consequence", "", PageColumn::Kind::Text}};
    std::size_t count = 0;
    const auto add = [&](PageTable::Row row) {
      if (++count <= kMostTableRows) table.rows.push_back(std::move(row));
    };
    for (const std::size_t i : order_) {
      if (!models_[i].model) {
        add({{NameOfModel(i), "unread", "file", models_[i].error, "", "the model is not checked"}, PageTone::Bad});
        continue;
      }
      for (const TModelFinding& finding : checks_[i].findings) {
        const PageTone tone = finding.severity == TFindingSeverity::Unfit     ? PageTone::Bad
                              : finding.severity == TFindingSeverity::Warning ? PageTone::Second
                                                                              : PageTone::Plain;
        add({{NameOfModel(i), FindingSeverityName(finding.severity), FindingKindName(finding.kind), finding.what,
              finding.where, finding.consequence},
             tone});
      }
    }
    LimitNote(count, "findings", &table);
    return table;
  }

  static void LimitNote(std::size_t count, const char* what, PageTable* table) {
    if (count <= kMostTableRows) return;
    table->note = "The heaviest " + PageCount(kMostTableRows) + " " + what + " of " + PageCount(count) + " are listed.";
  }

  const std::vector<ListedModel>& models_;
  const std::vector<TModelCheck>& checks_;
  std::vector<std::size_t> order_;
};

}  // namespace

std::string CheckPageHtml(const std::vector<ListedModel>& models, const std::vector<TModelCheck>& checks) {
  return CheckPage(models, checks).Html();
}

}  // namespace orbmath_tool
