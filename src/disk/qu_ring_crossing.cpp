#include "disk/qu_ring_crossing.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <vector>

namespace qrd {

namespace {

// Edges whose common box is compared first.
constexpr std::size_t block_edges = 64;
// Fewer corners than this are quicker compared each with each.
constexpr std::size_t least_swept = 24;

struct box {
  double x_min, x_max, y_min, y_max;
};

box edge_box(const vertex& p, const vertex& q) {
  return {std::min(p.x, q.x), std::max(p.x, q.x), std::min(p.y, q.y), std::max(p.y, q.y)};
}

bool touch(const box& a, const box& b) {
  return a.x_max >= b.x_min && b.x_max >= a.x_min && a.y_max >= b.y_min && b.y_max >= a.y_min;
}

// On which side of the line from p to q a vertex lies: -1, 0 (on it), 1.
int side(const vertex& p, const vertex& q, const vertex& tested) {
  const double cross = (q.x - p.x) * (tested.y - p.y) - (q.y - p.y) * (tested.x - p.x);
  return (cross > 0) - (cross < 0);
}

// Touching counts as crossing. This alone decides; the sweep only finds out whom to ask.
bool cross(const vertex& p, const vertex& q, const vertex& b, const vertex& c) {
  return touch(edge_box(p, q), edge_box(b, c)) && side(b, c, p) * side(b, c, q) < 1 &&
         side(p, q, b) * side(p, q, c) < 1;
}

// The edges of a ring one by one, whole blocks of them ruled out by their boxes.
class edge_blocks {
 public:
  explicit edge_blocks(const ring_corners& ring) : ring_(ring) {}

  // Whether the tested segment m crosses one of the edges that it is compared with. REQUIRES: m grows from
  // call to call.
  bool any_crosses(std::size_t m) {
    extend(m - 1);
    const vertex& b = ring_.corners[m];
    const vertex& c = ring_.ahead[m];
    const box tested = edge_box(b, c);
    const bool closing = ring_.is_closed && m + 1 == ring_.corners.size();
    for (std::size_t i = closing ? 1 : 0; i < m - 1;) {
      const std::size_t block = i / block_edges;
      const std::size_t end = std::min(m - 1, (block + 1) * block_edges);
      if (touch(boxes_[block], tested))
        for (; i < end; ++i)
          if (cross(ring_.corners[i], ring_.corners[i + 1], b, c)) return true;
      i = end;
    }
    return false;
  }

 private:
  void extend(std::size_t count) {
    for (; known_ < count; ++known_) {
      const box edge = edge_box(ring_.corners[known_], ring_.corners[known_ + 1]);
      if (known_ % block_edges == 0) {
        boxes_.push_back(edge);
        continue;
      }
      box& whole = boxes_.back();
      whole = {std::min(whole.x_min, edge.x_min), std::max(whole.x_max, edge.x_max),
               std::min(whole.y_min, edge.y_min), std::max(whole.y_max, edge.y_max)};
    }
  }

  const ring_corners& ring_;
  std::vector<box> boxes_;
  std::size_t known_ = 0;
};

// Each with each: quadratic at worst.
bool any_crosses(const ring_corners& ring) {
  edge_blocks edges(ring);
  for (std::size_t m = 2; m < ring.corners.size(); ++m)
    if (edges.any_crosses(m)) return true;
  return false;
}

bool is_before(const vertex& a, const vertex& b) {
  return a.x < b.x || (a.x == b.x && a.y < b.y);
}

double distance(const vertex& point, const vertex& p, const vertex& q) {
  const double dx = q.x - p.x, dy = q.y - p.y, length = dx * dx + dy * dy;
  const double along = length > 0 ? ((point.x - p.x) * dx + (point.y - p.y) * dy) / length : 0;
  const double t = std::clamp(along, 0.0, 1.0);
  return std::hypot(point.x - (p.x + t * dx), point.y - (p.y + t * dy));
}

// The edges that a vertical line meets while it moves over the ring, from the lowest to the highest. As long
// as no two edges touch, each keeps its neighbours until one of them ends.
class edge_sweep {
 public:
  enum class verdict { none_crosses, one_crosses, open };

  explicit edge_sweep(const ring_corners& ring) : ring_(ring), count_(ring.corners.size()) {}

  verdict run() {
    if (!judge_others()) return verdict_;
    std::vector<std::uint32_t> order(count_);
    std::iota(order.begin(), order.end(), 0U);
    std::sort(order.begin(), order.end(),
              [this](std::uint32_t a, std::uint32_t b) { return is_before(corner(a), corner(b)); });
    for (std::size_t i = 0; i < count_; ++i)
      if ((i > 0 && !lie_apart(order[i - 1], order[i])) || !pass(order[i])) return verdict_;
    return verdict::none_crosses;
  }

 private:
  using edge = std::uint32_t;  // its number, which is that of its first corner

  // The tested segments that are not their edges, but where corners were left out: false, with the verdict,
  // if one crosses. Of those that keep to their edge the sweep only has to know how far they are from it.
  bool judge_others() {
    edge_blocks edges(ring_);
    for (std::size_t m = 1; m < count_; ++m) {
      const vertex& tested = ring_.ahead[m];
      const vertex& next = corner(m + 1);
      if (tested.x == next.x && tested.y == next.y) continue;
      if (touch(edge_box(corner(m), next), edge_box(tested, tested))) {
        constexpr double rounding = 2e-15;
        deviation_ = std::max(deviation_, distance(tested, corner(m), next) +
                                              rounding * (std::abs(tested.x) + std::abs(tested.y)));
      } else if (m > 1 && edges.any_crosses(m)) {
        verdict_ = verdict::one_crosses;
        return false;
      }
    }
    return true;
  }

  const vertex& corner(std::size_t i) const { return ring_.corners[i < count_ ? i : i - count_]; }
  bool is_forward(edge e) const { return is_before(corner(e), corner(e + 1)); }
  const vertex& left(edge e) const { return is_forward(e) ? corner(e) : corner(e + 1); }
  const vertex& right(edge e) const { return is_forward(e) ? corner(e + 1) : corner(e); }
  bool ends_at(edge e, std::size_t i) const {
    return (is_forward(e) ? (e + 1) % count_ : std::size_t{e}) == i;
  }

  // Whether a corner lies above (1) or below (-1) an edge; 0 where rounding could make it the other one, or
  // where what is tested instead of the edge could.
  int height(const vertex& point, edge e) const {
    const vertex& p = left(e);
    const vertex& q = right(e);
    const double first = (q.x - p.x) * (point.y - p.y), second = (q.y - p.y) * (point.x - p.x);
    constexpr double rounding = 1e-14;
    const double doubt = rounding * (std::abs(first) + std::abs(second)) +
                         4 * deviation_ * (std::abs(q.x - p.x) + std::abs(q.y - p.y));
    const double over = first - second;
    return (over > doubt) - (over < -doubt);
  }

  // What the sweep can't tell apart: false, with the verdict.
  bool ask(edge a, edge b) {
    const edge low = std::min(a, b), high = std::max(a, b);
    const bool is_tested = high >= low + 2 && (low != 0 || high + 1 != count_);
    verdict_ = is_tested && cross(corner(low), corner(low + 1), corner(high), ring_.ahead[high])
                   ? verdict::one_crosses
                   : verdict::open;
    return false;
  }
  bool ask_both(edge e, std::size_t i) {
    ask(e, static_cast<edge>(i));
    if (verdict_ == verdict::open) ask(e, static_cast<edge>((i + count_ - 1) % count_));
    return false;
  }

  // Two corners: the edges of the first may have gone when the second comes.
  bool lie_apart(std::size_t i, std::size_t j) {
    if (is_before(corner(i), corner(j))) return true;
    ask_both(static_cast<edge>(i), j);
    return verdict_ == verdict::open && ask_both(static_cast<edge>((i + count_ - 1) % count_), j);
  }

  // Of two neighbours, the lower one first: whether they stay so until the first of them ends.
  bool stay_apart(edge low, edge high) {
    if (&right(low) == &right(high)) return true;
    const int seen =
        is_before(right(low), right(high)) ? -height(right(low), high) : height(right(high), low);
    return seen > 0 || ask(low, high);
  }

  // The corner's place among the edges that the line meets.
  bool pass(std::size_t i) {
    const vertex& point = corner(i);
    const edge incident[2] = {static_cast<edge>(i), static_cast<edge>((i + count_ - 1) % count_)};
    std::size_t begin = 0, end = met_.size();
    while (begin < end) {
      const std::size_t middle = begin + (end - begin) / 2;
      const edge e = met_[middle];
      if (ends_at(e, i)) {
        end = middle;
        continue;
      }
      const int seen = height(point, e);
      if (seen == 0) return ask_both(e, i);
      if (seen > 0)
        begin = middle + 1;
      else
        end = middle;
    }
    std::size_t behind = begin;
    while (behind < met_.size() && ends_at(met_[behind], i)) ++behind;

    edge starting[2];
    std::size_t starts = 0;
    for (const edge e : incident)
      if (!ends_at(e, i)) starting[starts++] = e;
    if (behind - begin != 2 - starts) return open();
    if (starts == 2) {
      const int seen = height(right(starting[1]), starting[0]);
      if (seen == 0) return open();
      if (seen < 0) std::swap(starting[0], starting[1]);
    }
    const auto place = met_.begin() + static_cast<std::ptrdiff_t>(begin);
    if (starts == 2)
      met_.insert(place, starting, starting + 2);
    else if (starts == 1)
      *place = starting[0];
    else
      met_.erase(place, place + 2);

    const std::size_t next = begin + starts;
    if (starts == 0) return begin == 0 || next == met_.size() || stay_apart(met_[begin - 1], met_[next]);
    return (begin == 0 || stay_apart(met_[begin - 1], met_[begin])) &&
           (next == met_.size() || stay_apart(met_[next - 1], met_[next]));
  }
  bool open() {
    verdict_ = verdict::open;
    return false;
  }

  const ring_corners& ring_;
  const std::size_t count_;
  double deviation_ = 0;  // of the tested segments from their edges
  std::vector<edge> met_;
  verdict verdict_ = verdict::none_crosses;
};

}  // namespace

bool qu_ring_crosses(const ring_corners& ring) {
  const auto is_finite = [](const vertex& each) { return std::isfinite(each.x) && std::isfinite(each.y); };
  const std::size_t count = ring.corners.size();
  if (count >= least_swept && std::all_of(ring.corners.begin(), ring.corners.end(), is_finite)) {
    // These are neighbours to the sweep.
    if (!ring.is_closed &&
        cross(ring.corners[0], ring.corners[1], ring.corners[count - 1], ring.ahead[count - 1]))
      return true;
    const auto verdict = edge_sweep(ring).run();
    if (verdict != edge_sweep::verdict::open) return verdict == edge_sweep::verdict::one_crosses;
  }
  return any_crosses(ring);
}

}  // namespace qrd
