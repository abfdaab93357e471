// Samples as marks on the paper, in any number.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "plot/page.h"

namespace qrd::plot {

struct mark {
  point at;
  std::optional<rgb> colour;  // none: without a value, a small ring below all others
};

// Circles, the later ones above. Of very many that lie on the same point of the paper only the last is drawn:
// what is seen is the same.
void draw_marks(picture& on, const box& area, std::vector<mark> marks);

// Pieces of lines, those of one colour together. A piece that begins where the one before ended goes on with
// it.
class coloured_pieces {
 public:
  void add(const rgb& colour, point from, point to);
  void draw(picture& on, double width) const;

 private:
  std::map<rgb, std::vector<std::vector<point>>> parts_;
};

// Four-sided cells side by side, those of one colour together. Seams between them don't show.
class coloured_cells {
 public:
  void add(const rgb& colour, std::vector<point> corners) { parts_[colour].push_back(std::move(corners)); }
  // Of cells that stand upright on the paper the edges stay hard.
  void draw(picture& on, bool are_upright) const;

 private:
  std::map<rgb, std::vector<std::vector<point>>> parts_;
};

// Names beside their places or on them, as far as none covers another.
class name_labels {
 public:
  explicit name_labels(const box& area) : area_(area) {}
  void add_beside(picture& on, point at, const std::string& name);
  void add_on(picture& on, point at, const std::string& name);

 private:
  // Whether it was free, and inside of the area.
  bool take(const box& room);

  box area_;
  std::vector<box> taken_;
};

}  // namespace qrd::plot
