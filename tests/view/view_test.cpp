// What answers the page: who may ask, and what is given.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <random>
#include <thread>

#include "support/database.h"
#include "view/answers.h"
#include "view/guard.h"
#include "view/http.h"
#include "view/page.h"

namespace qrd::view {
namespace {

using strings = std::vector<std::string>;

// What comes back for bytes on a connection, until it is closed or silent.
std::string answer_to(std::uint16_t port, const std::string& bytes) {
  const int wire = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  std::string got;
  if (connect(wire, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
    send(wire, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    shutdown(wire, SHUT_WR);
    char piece[4096];
    pollfd one{wire, POLLIN, 0};
    while (poll(&one, 1, 20000) > 0) {
      const ssize_t size = recv(wire, piece, sizeof piece, 0);
      if (size <= 0) break;
      got.append(piece, static_cast<std::size_t>(size));
    }
  }
  close(wire);
  return got;
}

struct served_page {
  test::database copy;
  source from{{.root = copy.root()}};
  http_server server{from, 0};
  std::thread running{[this] { server.run(); }};
  std::string host = "Host: 127.0.0.1:" + std::to_string(server.port()) + "\r\n";
  std::string cookie = "Cookie: qrd_view_" + std::to_string(server.port()) + "=" + server.secret() + "\r\n";

  ~served_page() {
    from.end();
    server.stop();
    running.join();
  }
  std::string get(const std::string& path, const std::string& headers) {
    return answer_to(server.port(), "GET " + path + " HTTP/1.1\r\n" + headers + "Connection: close\r\n\r\n");
  }
  std::string status(const std::string& path, const std::string& headers) {
    return get(path, headers).substr(9, 3);
  }
};

query asking(std::multimap<std::string, std::string> values) {
  values.insert({{"study", "Holes"}, {"directory", "Drilling"}});
  return query(std::move(values));
}

TEST(view, only_the_browser_with_the_secret_is_let_in) {
  served_page page;
  const std::string port = std::to_string(page.server.port());
  const std::string entered = page.get("/?secret=" + page.server.secret(), page.host);
  EXPECT_EQ(entered.substr(9, 3), "303");
  EXPECT_NE(entered.find("Set-Cookie: qrd_view_" + port + "=" + page.server.secret() +
                         "; HttpOnly; SameSite=Strict; Path=/\r\n"),
            std::string::npos);
  EXPECT_NE(entered.find("Location: /\r\n"), std::string::npos);

  const std::string tree = page.get("/api/tree", page.host + page.cookie);
  EXPECT_EQ(tree.substr(9, 3), "200");
  EXPECT_NE(tree.find("\"studies\":[\"Holes\",\"Archive\"]"), std::string::npos);
  EXPECT_NE(tree.find("Content-Security-Policy: default-src 'none'; script-src 'self';"), std::string::npos);
  EXPECT_EQ(page.status("/", page.host + page.cookie), "200");
  EXPECT_EQ(page.status("/", page.host + "Origin: http://127.0.0.1:" + port + "\r\n" + page.cookie), "200");

  std::string other = page.server.secret();
  other.back() = other.back() == '0' ? '1' : '0';
  EXPECT_EQ(page.status("/", page.host), "403");
  EXPECT_EQ(page.status("/?secret=" + other, page.host + page.cookie), "403");
  EXPECT_EQ(page.status("/api/tree?secret=" + page.server.secret(), page.host), "403");
  EXPECT_EQ(page.status("/api/tree", page.host + "Cookie: qrd_view_" + port + "=" + other + "\r\n"), "403");
  EXPECT_EQ(page.status("/api/tree", page.host + "Cookie: qrd_view_1=" + page.server.secret() + "\r\n"),
            "403");
  EXPECT_EQ(page.status("/api/tree", "Host: example.org:" + port + "\r\n" + page.cookie), "403");
  EXPECT_EQ(page.status("/api/tree", page.host + "Host: example.org\r\n" + page.cookie), "403");
  EXPECT_EQ(page.status("/api/tree", page.cookie), "403");
  EXPECT_EQ(page.status("/api/tree", page.host + "Origin: http://example.org\r\n" + page.cookie), "403");
  EXPECT_EQ(page.status("/../../etc/passwd", page.host + page.cookie), "404");
  EXPECT_EQ(answer_to(page.server.port(), "POST /api/tree HTTP/1.1\r\n" + page.host + page.cookie +
                                              "Content-Length: 5\r\n\r\nhello")
                .substr(9, 3),
            "405");
  EXPECT_THROW(http_server(page.from, page.server.port()), client::error);
  // A request without an end is not read for ever.
  std::string endless = "GET / HTTP/1.1\r\n" + page.host + page.cookie;
  for (int i = 0; i < 20000; ++i) endless += "X-More: 0123456789\r\n";
  EXPECT_EQ(answer_to(page.server.port(), endless).find(" 200 "), std::string::npos);
}

// Words of real requests, put together and broken at random.
TEST(view, a_stranger_gets_nothing_whatever_he_sends_and_a_friend_changes_nothing) {
  served_page page;
  const test::tree_image before = test::image_of(page.copy.root());
  std::mt19937 chance(20240601);
  const auto below = [&](std::size_t most) {
    return std::uniform_int_distribution<std::size_t>(0, most - 1)(chance);
  };
  strings words = {"GET ",
                   "POST ",
                   "HEAD ",
                   "/",
                   "/api/",
                   "?",
                   "&",
                   "=",
                   "%",
                   "%00",
                   "%2e%2e/",
                   "..",
                   " HTTP/1.1",
                   " HTTP/1.0",
                   "\r\n",
                   "\n",
                   "\r\n\r\n",
                   page.host,
                   "Host: example.org\r\n",
                   "Origin: null\r\n",
                   "Cookie: ",
                   "; ",
                   "Range: bytes=5-999999999999999999999\r\n",
                   "Range: bytes=-1,2-,0-0\r\n",
                   "Content-Length: 99999999999999999999\r\n",
                   "Transfer-Encoding: chunked\r\n",
                   "Expect: 100-continue\r\n",
                   "Accept-Encoding: gzip, br\r\n",
                   "study=Holes",
                   "directory=Drilling",
                   "file=cores",
                   "variable=Cu",
                   "first=1",
                   "last=9",
                   "last=-1",
                   "every=0",
                   "bins=99999999",
                   "kind=faults",
                   "unit=ft",
                   "unit=xx",
                   "scale=log",
                   "selection=ore",
                   "secret=0",
                   std::string(9000, 'a'),
                   std::string(3, '\0'),
                   "\xff\xfe"};
  for (const auto& [name, make] : answers) words.push_back(name);
  for (const page_file& file : page_files()) words.push_back(std::string(file.path));
  constexpr int rounds = 10000;
  int served = 0;
  for (int i = 0; i < rounds; ++i) {
    const bool friendly = i % 5 == 0;
    std::string path =
        "/api/" + std::next(answers.begin(), static_cast<std::ptrdiff_t>(below(answers.size())))->first;
    path += "?study=Holes&directory=Drilling&file=cores&variable=Cu&first=1&last=9&kind=faults";
    std::string request = "GET " + path + " HTTP/1.1\r\n" + page.host;
    if (friendly) request += page.cookie;
    for (std::size_t changes = below(4); changes > 0; --changes) {
      const std::size_t at = below(request.size());
      if (below(3) == 0) request.erase(at, 1 + below(8));
      request.insert(std::min(at, request.size()), words[below(words.size())]);
    }
    const std::string got = answer_to(page.server.port(), request + "Connection: close\r\n\r\n");
    const bool given = got.starts_with("HTTP/1.1 200") || got.starts_with("HTTP/1.0 200");
    if (given && friendly) ++served;
    ASSERT_FALSE(given && !friendly) << request;
    ASSERT_FALSE(got.find("root:") != std::string::npos) << request;
  }
  EXPECT_GT(served, rounds / 40);
  EXPECT_EQ(page.status("/api/tree", page.host + page.cookie), "200");
  EXPECT_EQ(test::changes(before, test::image_of(page.copy.root())), strings());
}

template <typename T>
std::vector<T> values_of(answer given) {
  std::string bytes;
  for (std::string piece = given.next(); !piece.empty(); piece = given.next()) bytes += piece;
  std::vector<T> values(bytes.size() / sizeof(T));
  std::memcpy(values.data(), bytes.data(), values.size() * sizeof(T));
  return values;
}

TEST(view, columns_and_figures_are_those_of_the_database) {
  test::database copy;
  source from({.root = copy.root()});
  const std::vector<double> copper =
      values_of<double>(column_answer(from, asking({{"file", "cores"}, {"variable", "Cu"}})));
  ASSERT_EQ(copper.size(), 3762U);
  EXPECT_TRUE(std::isnan(copper[0]));
  EXPECT_FLOAT_EQ(static_cast<float>(copper[2]), 0.97F);
  const auto tenth = values_of<double>(
      column_answer(from, asking({{"file", "cores"}, {"variable", "Cu"}, {"every", "10"}})));
  ASSERT_EQ(tenth.size(), 377U);
  EXPECT_EQ(tenth[200], copper[2000]);
  const auto metres = values_of<double>(
      column_answer(from, asking({{"file", "collars"}, {"variable", "Z+ Gravity Center"}, {"unit", "m"}})));
  EXPECT_NEAR(metres.at(0), 491.0328, 1e-9);
  EXPECT_EQ(
      values_of<std::uint16_t>(classes_answer(from, asking({{"file", "collars"}, {"variable", "hole"}})))[1],
      1);
  EXPECT_EQ(statistics_answer(from, asking({{"file", "cores"}, {"variable", "ore"}, {"bins", "2"}}))
                .body.substr(0, 73),
            R"({"count":3762,"missing":0,"minimum":0.0,"maximum":1.0,"mean":0.4324827219)");
  EXPECT_NE(statistics_answer(from, asking({{"file", "cores"}, {"variable", "ore"}, {"bins", "2"}}))
                .body.find("\"counts\":[2135,1627]"),
            std::string::npos);
  EXPECT_EQ(
      rows_answer(
          from,
          asking(
              {{"file", "cores"}, {"first", "1"}, {"last", "2"}, {"variable", "Cu"}, {"variable", "hole"}}))
          .body.substr(0, 66),
      R"({"first":1,"samples":3762,"columns":[[null,0.019999999552965164],[)");
  EXPECT_THROW(column_answer(from, asking({{"file", "cores"}, {"variable", "Cu"}, {"unit", "xx"}})).next(),
               client::refusal);
  EXPECT_EQ(tree_answer(from, query(std::multimap<std::string, std::string>{{"study", "Holes"}})).body,
            R"({"directories":["Drilling"]})");
  EXPECT_THROW(rows_answer(from, asking({{"file", "cores"}, {"first", "1"}, {"last", "2000"}})), bad_query);
  EXPECT_THROW(column_answer(from, asking({{"file", "cores"}, {"variable", "hole"}})), bad_query);
}

TEST(view, a_grid_is_thinned_along_each_axis_and_told_by_its_axes) {
  test::database copy;
  source from({.root = copy.root()});
  from.with([](client::database& all) {
    client::make_file(all, {"Holes", "Drilling", "nodes"},
                      client::grid_file_geometry{{3, {10, 20, 30}, {1, 2, 4}, 3, 3, 5}, {90, 0, 0}},
                      [](client::table& file) {
                        std::vector<double> numbers(45);
                        for (std::size_t i = 0; i < numbers.size(); ++i) numbers[i] = static_cast<double>(i);
                        file.write(file.make({.name = {"number", {}}}), numbers);
                      });
  });
  // Nodes follow each other along Z, then Y, then X: 5 and 3 * 5 apart.
  EXPECT_EQ(values_of<double>(
                column_answer(from, asking({{"file", "nodes"}, {"variable", "number"}, {"every", "2"}}))),
            (std::vector<double>{0, 2, 4, 10, 12, 14, 30, 32, 34, 40, 42, 44}));
  const std::string told = file_answer(from, asking({{"file", "nodes"}})).body;
  const std::size_t grid = told.find("\"axes\":[");
  ASSERT_NE(grid, std::string::npos);
  // A quarter turn: what led along X leads along Y.
  double x[3], y[3];
  ASSERT_EQ(std::sscanf(told.c_str() + grid, "\"axes\":[[%lf,%lf,%lf],[%lf,%lf,%lf]", &x[0], &x[1], &x[2],
                        &y[0], &y[1], &y[2]),
            6)
      << told;
  EXPECT_NEAR(std::abs(x[1]), 1, 1e-9);
  EXPECT_NEAR(x[0], 0, 1e-9);
  EXPECT_NEAR(std::abs(y[0]), 2, 1e-9);
}

TEST(view, large_files_come_in_pieces_between_which_others_have_their_turn) {
  test::database copy;
  source from({.root = copy.root()});
  constexpr std::size_t samples = 600000;  // three pieces
  from.with([](client::database& all) {
    client::make_file(all, {"Holes", "Drilling", "large"},
                      client::grid_file_geometry{{2, {}, {1, 1, 0}, samples / 2, 2, 1}, {0, 0, 0}},
                      [](client::table& file) {
                        std::vector<double> numbers(samples), last(samples);
                        for (std::size_t i = 0; i < samples; ++i) {
                          numbers[i] = static_cast<double>(i);
                          last[i] = i >= samples - 1000 ? 1 : 0;
                        }
                        file.write(file.make({.name = {"number", {}}}), numbers);
                        file.write(file.make({.name = {"last", {}}, .bits = 1}), last);
                      });
  });
  const auto figures = [&](const std::string& selection) {
    return statistics_answer(
               from,
               asking({{"file", "large"}, {"variable", "number"}, {"bins", "2"}, {"selection", selection}}))
        .body;
  };
  const std::string all = figures("");
  EXPECT_TRUE(
      all.starts_with(R"({"count":600000,"missing":0,"minimum":0.0,"maximum":599999.0,"mean":299999.)"))
      << all;
  EXPECT_NE(all.find("\"counts\":[300000,300000]"), std::string::npos) << all;
  const std::string chosen = figures("last");
  EXPECT_TRUE(chosen.starts_with(R"({"count":1000,"missing":0,"minimum":599000.0,"maximum":599999.0,)"))
      << chosen;
  EXPECT_NE(chosen.find("\"counts\":[500,500]"), std::string::npos) << chosen;

  // Who takes a turn once more comes behind those that wait. Chance may let another lock pass a few times.
  for (int round = 0; round < 40; ++round) {
    turns one;
    std::atomic<int> asking_now = 0, served = 0;
    std::vector<std::jthread> others(16);
    one.lock();
    for (std::jthread& other : others)
      other = std::jthread([&] {
        ++asking_now;
        const std::lock_guard turn(one);
        ++served;
      });
    while (asking_now < 16) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    one.unlock();
    const std::lock_guard turn(one);
    EXPECT_GT(served, 8);  // all that had asked by then
  }
}

TEST(view, a_bundle_is_its_length_its_description_and_its_arrays) {
  const double numbers[] = {1, -2};
  const std::uint32_t indices[] = {7};
  const std::string body = bundle_answer({{"a", 1}}, numbers, indices).body;
  EXPECT_EQ(body, std::string("\x0c\0\0\0{\"a\":1}     \0\0\0\0\0\0\xf0\x3f\0\0\0\0\0\0\0\xc0\7\0\0\0", 36));
}

}  // namespace
}  // namespace qrd::view
