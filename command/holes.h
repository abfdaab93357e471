// Drill holes from three tables: where they begin, where they point, and their intervals.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "command/desurvey.h"
#include "qrd/types.h"

namespace qrd::command {

// Rows of the tables; `line` is where they stand in their file.
struct collar_row {
  std::string hole;
  client::point3 place;
  std::size_t line = 0;
};
struct survey_row {
  std::string hole;
  station measured;
  std::size_t line = 0;
};
struct interval_row {
  std::string hole;
  double from = 0;
  double to = 0;
  std::size_t line = 0;
};

struct hole_tables {
  std::vector<collar_row> collars;
  std::vector<survey_row> surveys;
  std::vector<interval_row> intervals;
};

enum class dip_convention {
  guessed_down_positive,  // refused if that sends most holes upwards
  down_positive,
  down_negative,
};

struct hole_rules {
  dip_convention dips = dip_convention::guessed_down_positive;
  bool vertical_without_surveys = false;
};

enum class hole_table { collars, surveys, intervals };

// What does not fit. A remark is worth knowing, and keeps nobody from making the holes.
struct hole_mismatch {
  bool is_remark = false;
  hole_table table{};
  std::size_t line = 0;  // 0: the table as a whole
  std::string hole;
  std::optional<double> depth;
  std::string text;
};

struct drill_hole {
  std::string name;
  client::point3 collar;
  std::vector<station> stations;       // ascending, dips positive downwards
  std::vector<std::size_t> intervals;  // rows of hole_tables::intervals, ascending
};

struct matched_holes {
  std::vector<drill_hole> holes;  // those with intervals, in the order of their first ones
  std::vector<hole_mismatch> mismatches;
  bool is_sound() const;  // nothing but remarks
};

// Rows may come in any order. The holes are complete only if they are sound.
matched_holes match_holes(const hole_tables& tables, const hole_rules& rules);

}  // namespace qrd::command
