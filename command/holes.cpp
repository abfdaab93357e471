#include "command/holes.h"

#include <algorithm>
#include <numbers>
#include <string_view>
#include <unordered_map>

#include "qrd/numbers.h"

namespace qrd::command {

namespace {

// Two directions further apart than this have no arc that anybody drilled.
constexpr double widest_turn = 179 * std::numbers::pi / 180;

class matching {
 public:
  matching(const hole_tables& tables, const hole_rules& rules) : tables_(tables), rules_(rules) {
    take_collars();
    take_surveys();
    check_dips();
    take_intervals();
    for (drill_hole& hole : result_.holes) complete(hole);
  }

  matched_holes result() && { return std::move(result_); }

 private:
  struct measured_station {
    station at;
    std::size_t line;
  };

  void report(hole_table table, std::size_t line, const std::string& hole, std::optional<double> depth,
              std::string text) {
    result_.mismatches.push_back({false, table, line, hole, depth, std::move(text)});
  }
  void remark(hole_table table, std::size_t line, const std::string& hole, std::optional<double> depth,
              std::string text) {
    report(table, line, hole, depth, std::move(text));
    result_.mismatches.back().is_remark = true;
  }

  void take_collars() {
    for (const collar_row& row : tables_.collars) {
      if (row.hole.empty())
        report(hole_table::collars, row.line, row.hole, std::nullopt, "the hole has no name");
      const auto [first, is_new] = collars_.emplace(row.hole, &row);
      if (!is_new)
        report(hole_table::collars, row.line, row.hole, std::nullopt,
               "a second collar; the first is on line " + std::to_string(first->second->line));
    }
  }

  void take_surveys() {
    for (const survey_row& row : tables_.surveys) {
      station at = row.measured;
      if (!(at.dip >= -90 && at.dip <= 90))
        report(hole_table::surveys, row.line, row.hole, at.depth,
               "a dip of " + client::number_text(at.dip) + " degrees");
      if (!(at.azimuth >= -360 && at.azimuth <= 360))
        report(hole_table::surveys, row.line, row.hole, at.depth,
               "an azimuth of " + client::number_text(at.azimuth) + " degrees");
      if (!(at.depth >= 0)) report(hole_table::surveys, row.line, row.hole, at.depth, "a depth below 0");
      if (rules_.dips == dip_convention::down_negative) at.dip = -at.dip;
      auto& stations = surveys_[row.hole];
      if (stations.empty() && !collars_.contains(row.hole))
        remark(hole_table::surveys, row.line, row.hole, std::nullopt, "surveys of a hole without a collar");
      stations.push_back({at, row.line});
    }
    for (auto& [hole, stations] : surveys_) {
      std::stable_sort(stations.begin(), stations.end(),
                       [](const auto& a, const auto& b) { return a.at.depth < b.at.depth; });
      for (std::size_t i = 1; i < stations.size(); ++i) {
        const measured_station& before = stations[i - 1];
        const measured_station& here = stations[i];
        if (here.at.depth == before.at.depth)
          report(hole_table::surveys, here.line, hole, here.at.depth,
                 "a second survey at this depth; the first is on line " + std::to_string(before.line));
        else if (dogleg(before.at, here.at) > widest_turn)
          report(hole_table::surveys, here.line, hole, here.at.depth, "the hole turns right round");
      }
    }
  }

  void check_dips() {
    if (rules_.dips != dip_convention::guessed_down_positive) return;
    std::size_t upwards = 0;
    for (const auto& [hole, stations] : surveys_)
      if (stations.front().at.dip < 0) ++upwards;
    if (2 * upwards > surveys_.size())
      report(
          hole_table::surveys, 0, "", std::nullopt,
          "dips are taken as positive downwards, and send " + std::to_string(upwards) + " of " +
              std::to_string(surveys_.size()) +
              " holes upwards: give --dip-down-negative if negative dips point down, --dip-down-positive if "
              "these holes go up");
  }

  void take_intervals() {
    std::unordered_map<std::string_view, std::size_t> places;
    for (std::size_t i = 0; i < tables_.intervals.size(); ++i) {
      const interval_row& row = tables_.intervals[i];
      const auto [place, is_new] = places.emplace(row.hole, result_.holes.size());
      if (is_new) result_.holes.push_back({row.hole, {}, {}, {}});
      result_.holes[place->second].intervals.push_back(i);
    }
  }

  // A hole gets its collar and its stations, and its intervals are put in order.
  void complete(drill_hole& hole) {
    const auto& rows = tables_.intervals;
    const std::size_t first_line = rows[hole.intervals.front()].line;
    std::stable_sort(hole.intervals.begin(), hole.intervals.end(),
                     [&](std::size_t a, std::size_t b) { return rows[a].from < rows[b].from; });
    double reached = 0;
    for (const std::size_t i : hole.intervals) {
      const interval_row& row = rows[i];
      const std::string ends = "from " + client::number_text(row.from) + " to " + client::number_text(row.to);
      if (!(row.to > row.from))
        report(hole_table::intervals, row.line, hole.name, row.from,
               "the interval is reversed or empty: " + ends);
      else if (row.from < 0)
        report(hole_table::intervals, row.line, hole.name, row.from,
               "the interval begins above the collar: " + ends);
      else if (row.from < reached)
        report(hole_table::intervals, row.line, hole.name, row.from,
               "the interval overlaps one that reaches " + client::number_text(reached) + ": " + ends);
      reached = std::max(reached, row.to);
    }

    const auto collar = collars_.find(hole.name);
    if (collar == collars_.end())
      report(hole_table::intervals, first_line, hole.name, std::nullopt, "the hole has no collar");
    else
      hole.collar = collar->second->place;

    const auto surveys = surveys_.find(hole.name);
    if (surveys == surveys_.end()) {
      hole.stations = {station{}};
      if (!rules_.vertical_without_surveys)
        report(hole_table::intervals, first_line, hole.name, std::nullopt,
               "the hole has no surveys: give --vertical to make such holes vertical");
      return;
    }
    for (const measured_station& one : surveys->second) hole.stations.push_back(one.at);
    const measured_station& last = surveys->second.back();
    if (reached > last.at.depth)
      remark(hole_table::surveys, last.line, hole.name, last.at.depth,
             "the last survey; intervals reach " + client::number_text(reached) + ", straight on from it");
  }

  const hole_tables& tables_;
  const hole_rules& rules_;
  std::unordered_map<std::string, const collar_row*> collars_;
  std::unordered_map<std::string, std::vector<measured_station>> surveys_;
  matched_holes result_;
};

}  // namespace

bool matched_holes::is_sound() const {
  return std::all_of(mismatches.begin(), mismatches.end(), [](const auto& one) { return one.is_remark; });
}

matched_holes match_holes(const hole_tables& tables, const hole_rules& rules) {
  matched_holes matched = matching(tables, rules).result();
  std::stable_sort(matched.mismatches.begin(), matched.mismatches.end(), [](const auto& a, const auto& b) {
    return a.table != b.table ? a.table < b.table : a.line < b.line;
  });
  return matched;
}

}  // namespace qrd::command
