// The verdicts on rings, against a comparison of each edge with each.
#include "disk/qu_polygon_shape.h"
#include "support/test.h"

namespace qrd::test {
namespace {

double turn(const vertex& p, const vertex& q, const vertex& r) {
  return (q.x - p.x) * (r.y - p.y) - (q.y - p.y) * (r.x - p.x);
}

bool meet(const vertex& p, const vertex& q, const vertex& b, const vertex& c) {
  const auto overlap = [](double s, double t, double u, double v) {
    return std::max(s, t) >= std::min(u, v) && std::max(u, v) >= std::min(s, t);
  };
  const auto sign = [](double value) { return value > 0 ? 1 : value < 0 ? -1 : 0; };
  return overlap(p.x, q.x, b.x, c.x) && overlap(p.y, q.y, b.y, c.y) &&
         sign(turn(b, c, p)) * sign(turn(b, c, q)) < 1 && sign(turn(p, q, b)) * sign(turn(p, q, c)) < 1;
}

ring_state judged(vertex_ring ring) {
  if (!ring.empty() && ring.back().x == ring.front().x && ring.back().y == ring.front().y) ring.pop_back();
  if (ring.size() < 3) return ring_state::degenerate;
  vertex_ring kept = {ring[0]};
  std::size_t left = ring.size();
  for (std::size_t at = 1; at < ring.size(); ++at) {
    const vertex a = kept.back(), b = ring[at], c = ring[(at + 1) % ring.size()];
    if (std::abs((b.x - a.x) * (c.y - b.y) - (b.y - a.y) * (c.x - b.x)) < 1e-5) {
      if (--left < 3) return ring_state::degenerate;
      continue;
    }
    for (std::size_t i = at + 1 == ring.size() ? 1 : 0; i + 1 < kept.size(); ++i)
      if (meet(kept[i], kept[i + 1], b, c)) return ring_state::self_intersecting;
    kept.push_back(b);
  }
  return ring_state::valid;
}

class ring_maker {
 public:
  // Rings of several sorts by turns, each turned, moved far away or damaged a little now and then.
  vertex_ring next() {
    vertex_ring ring = sort_ == 0   ? on_a_grid()
                       : sort_ == 1 ? star()
                       : sort_ == 2 ? comb(pick(20, 60))
                       : sort_ == 3 ? spiral()
                                    : walk();
    sort_ = (sort_ + 1) % 5;
    if (pick(0, 2) == 0) add_points_between(ring);
    if (pick(0, 2) == 0) damage(ring);
    if (pick(0, 1) == 0) place(ring);
    return ring;
  }

  // Long edges side by side: all their boxes overlap.
  static vertex_ring comb(int teeth, double width = 1.0) {
    vertex_ring ring;
    for (int i = 0; i < teeth; ++i) {
      ring.push_back({width * 2 * i, 0});
      ring.push_back({width * (2 * i + 1), 1000});
    }
    ring.push_back({width * 2 * teeth, 0});
    ring.push_back({width * 2 * teeth, -5});
    ring.push_back({0, -5});
    return ring;
  }

  static void turn_by(vertex_ring& ring, double angle) {
    for (vertex& each : ring)
      each = {each.x * std::cos(angle) - each.y * std::sin(angle),
              each.x * std::sin(angle) + each.y * std::cos(angle)};
  }

 private:
  int pick(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random_); }
  double number(double least, double most) {
    return std::uniform_real_distribution<double>(least, most)(random_);
  }

  vertex_ring on_a_grid() {
    vertex_ring ring;
    const int size = pick(3, 40), width = pick(3, 200);
    for (int i = 0; i < size; ++i) ring.push_back({double(pick(0, width)), double(pick(0, width))});
    return ring;
  }
  vertex_ring star() {
    vertex_ring ring;
    const int size = pick(24, 90);
    for (int i = 0; i < size; ++i) {
      const double angle = 2 * std::numbers::pi * i / size, radius = number(100, 1000);
      ring.push_back({radius * std::cos(angle), radius * std::sin(angle)});
    }
    return ring;
  }
  vertex_ring spiral() {
    vertex_ring ring;
    const int size = pick(30, 80);
    for (int i = 0; i < size; ++i)
      ring.push_back({(10 + i) * std::cos(0.4 * i), (10 + i) * std::sin(0.4 * i)});
    for (int i = size - 1; i >= 0; --i)
      ring.push_back({(7 + i) * std::cos(0.4 * i), (7 + i) * std::sin(0.4 * i)});
    return ring;
  }
  // To the right all the time, and back below.
  vertex_ring walk() {
    vertex_ring ring;
    const int size = pick(12, 60);
    for (int i = 0; i < size; ++i) ring.push_back({double(i), number(0, 10)});
    for (int i = size - 1; i >= 0; --i)
      ring.push_back({i + 0.5 * pick(0, 1), number(-10, pick(0, 9) ? -0.01 : 3)});
    return ring;
  }

  // Also spikes: points on the line through an edge, but not on it.
  void add_points_between(vertex_ring& ring) {
    vertex_ring more;
    for (std::size_t i = 0; i < ring.size(); ++i) {
      more.push_back(ring[i]);
      if (pick(0, 3) != 0) continue;
      const vertex& q = ring[(i + 1) % ring.size()];
      const double t = pick(0, 9) == 0 ? number(-1, 2) : 0.25 * pick(0, 4);
      more.push_back({ring[i].x + t * (q.x - ring[i].x), ring[i].y + t * (q.y - ring[i].y)});
    }
    ring = std::move(more);
  }
  void damage(vertex_ring& ring) {
    const auto any = [&] { return static_cast<std::size_t>(pick(0, static_cast<int>(ring.size()) - 1)); };
    switch (pick(0, 3)) {
      case 0:
        std::swap(ring[any()], ring[any()]);
        return;
      case 1:
        ring[any()] = ring[any()];
        return;
      case 2: {  // a corner that nearly touches an edge, or does
        const std::size_t i = any();
        const vertex &p = ring[i], &q = ring[(i + 1) % ring.size()];
        const double off = pick(0, 1) == 0 ? 0 : std::pow(10.0, pick(-16, -3));
        ring[any()] = {(p.x + q.x) / 2 + off, (p.y + q.y) / 2 - off};
        return;
      }
      default:
        ring[any()].x += number(-100, 100);
    }
  }
  void place(vertex_ring& ring) {
    turn_by(ring, number(0, 6.3));
    const double far = pick(0, 1) == 0 ? 0 : 5e7;
    for (vertex& each : ring) each = {each.x + far, each.y + 3 * far};
  }

  std::mt19937 random_{20};
  int sort_ = 0;
};

TEST(ring_crossing, is_judged_as_by_each_with_each) {
  ring_maker maker;
  std::map<ring_state, int> verdicts;
  for (int i = 0; i < 6000; ++i) {
    vertex_ring ring = maker.next();
    const vertex_ring before = ring;
    const ring_state expected = judged(ring);
    ++verdicts[expected];
    ASSERT_EQ(qu_ring_check(ring), expected) << "ring " << i;
    if (expected != ring_state::valid) {
      ASSERT_EQ(ring.size(), before.size() - (before.size() > ring.size() ? 1 : 0)) << "ring " << i;
    }
  }
  EXPECT_GT(verdicts[ring_state::valid], 1200);
  EXPECT_GT(verdicts[ring_state::self_intersecting], 1200);
}

// What isn't a number must not send the sweep astray.
TEST(ring_crossing, without_numbers) {
  for (const double odd : {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e308}) {
    vertex_ring ring = ring_maker::comb(30);
    ring[20].x = odd;
    ring[41].y = -odd;
    const ring_state expected = judged(ring);
    EXPECT_EQ(qu_ring_check(ring), expected) << odd;
  }
}

}  // namespace
}  // namespace qrd::test
