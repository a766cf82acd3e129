// Viewers of a training, on sockets of their own.
#include <utility>  // Boost's headers need it before them
// clang-format off
#include <boost/algorithm/string/replace.hpp>
#include <boost/asio/ip/host_name.hpp>
#include <boost/asio/ip/tcp.hpp>
// clang-format on
#include <gmock/gmock.h>

#include <future>
#include <iterator>
#include <list>
#include <thread>

#include "tests/support/Table.h"
#include "viewer/HttpHost.h"
#include "viewer/LiveSession.h"

namespace BX::viewer {
namespace {

using boost::asio::ip::tcp;
using rapidjson::Document;

struct Viewer : tcp::iostream {
  Viewer(const std::string& url, const std::string& request) {
    const auto port = std::stoi(url.substr(url.rfind(':') + 1));
    socket().open(tcp::v4());
    socket().set_option(boost::asio::socket_base::receive_buffer_size(4096));
    socket().connect({boost::asio::ip::address_v4::loopback(), static_cast<unsigned short>(port)});
    *this << boost::replace_all_copy(request, "\\r\\n", "\r\n") << std::flush;
  }
};

Document parsed(const std::string& text) {
  Document document;
  document.Parse<rapidjson::kParseFullPrecisionFlag>(text.c_str());
  return document;
}

// What a viewer has made of its events.
struct Copy {
  void take(const std::string& data) {
    if (whole.IsNull()) return void(whole = parsed(data));
    Document changes = parsed(data);
    auto& allocator = whole.GetAllocator();
    auto& after = whole["shots"]["after"];
    if (!after.Empty()) after[after.Size() - 1] = changes["after"];
    for (const char* columns : {"shots", "samples"}) {
      for (auto& [name, added] : changes[columns].GetObject()) {
        for (auto& value : added.GetArray()) whole[columns][name].PushBack(value, allocator);
      }
    }
    for (auto& target : changes["targets"].GetArray()) {
      auto& series = whole["targets"][0]["series"];
      while (series.Size() > target["firstSeries"].GetUint()) series.PopBack();
      for (auto& figures : target["series"].GetArray())
        series.PushBack(Document::ValueType(figures, allocator), allocator);
      whole["targets"][0]["figures"].CopyFrom(target["figures"], allocator);
    }
    state = changes["state"].GetString();
  }

  std::string id;
  Document whole;
  std::string state;
};

// Takes so many events, or all; the first is the document, unless the viewer comes back.
Copy follow(const std::string& url, Copy copy, int events) {
  const std::string back = copy.id.empty() ? "" : "Last-Event-ID: " + copy.id + "\r\n";
  Viewer viewer(url, "GET /events HTTP/1.1\r\nHost: localhost\r\n" + back + "\r\n");
  for (std::string line; events != 0 && std::getline(viewer, line);) {
    if (line.starts_with("id: ")) copy.id = line.substr(4);
    EXPECT_TRUE(copy.whole.IsNull() || !line.starts_with("event: "));
    if (line.starts_with("data: ")) copy.take(line.substr(6)), --events;
  }
  return events == 0 || copy.state == "ended" ? std::move(copy) : follow(url, std::move(copy), events);
}

TEST(Live, EveryViewerHasEveryRecordOnceHoweverItCame) {
  LiveSession session;
  auto server = std::make_unique<EventServer>("127.0.0.1:0", session);
  const std::string url = server->url();
  const std::string header = R"({"start": "now", "session": {"NumberOfBullets": 10}, "target": )" +
                             test::textIn(BX_SOURCE_DIR "/examples/ring-25m-precision-pistol.json") + '}';
  scoring::Session whole(parsed(header));
  std::vector<std::future<Copy>> viewers;
  const auto join = [&] { viewers.push_back(std::async(std::launch::async, follow, url, Copy(), -1)); };
  Viewer silent(url, "");
  join();
  server->post([&] { session.begin(parsed(header)); });
  Copy left = follow(url, {}, 1);
  Viewer stalled(url, "GET /events HTTP/1.1\\r\\nHost: localhost\\r\\n\\r\\n");
  auto gone = std::async(std::launch::async, [&] {
    while (stalled << ' ' << std::flush) std::this_thread::yield();
  });
  Copy returning = follow(url, {}, 1);
  for (int records = 0; gone.wait_for(std::chrono::seconds(0)) != std::future_status::ready; ++records) {
    const std::string shot = records % 25 == 0 ? R"("RingTargetNumber": 1, "ShotNumber": 1, )" : "";
    const std::string record = '{' + shot + R"("PositionX": )" + std::to_string(records % 97) +
                               R"(.25, "PositionY": -7, "received": )" + std::to_string(20 * records) + '}';
    whole.add(parsed(record));
    server->post([&, record] { session.add(parsed(record)); });
    if (records % 200 == 199) returning = follow(url, std::move(returning), 1);
    if (records % 2000 == 0) join();
  }
  EXPECT_EQ(silent.get(), EOF);
  server->post([&] { session.setState(LiveSession::State::Ended); });
  for (Copy* copy : {&left, &returning}) *copy = follow(url, std::move(*copy), 1);
  server->finish(std::chrono::minutes(1));
  server.reset();
  const Document expected = parsed(documentOf(whole, {}));
  for (auto& viewer : viewers) {
    const Copy copy = viewer.get();
    EXPECT_TRUE(copy.whole == expected);
    EXPECT_EQ(copy.state, "ended");
  }
  EXPECT_TRUE(left.whole == expected && returning.whole == expected);
}

TEST(Live, AnswersToItsOwnNamesAndToWhatIsAsked) {
  LiveSession session;
  EventServer server("localhost:0", session);
  for (const auto& row : test::rowsOf(test::textIn(BX_SOURCE_DIR "/tests/viewer/requests.txt"))) {
    const bool isPage = row[0].starts_with("GET") && row[1] == "200 OK";
    Viewer viewer(server.url(), boost::replace_all_copy(row[0], "LONG", std::string(9000, 'x')) + "\\r\\n\\r\\n");
    const std::string answer{std::istreambuf_iterator<char>(viewer), {}};
    EXPECT_EQ(answer.substr(0, answer.find('\r')), "HTTP/1.1 " + row[1]) << row[0];
    EXPECT_EQ(answer.find("connect-src 'self'") != std::string::npos, isPage) << row[0];
  }
  EXPECT_TRUE(isLocalHost("Range.local:80", "range.local"));
  EXPECT_TRUE(EventServer("0.0.0.0:0", session).url().starts_with("http://" + boost::asio::ip::host_name()));
  std::list<Viewer> viewers;
  std::string answer;
  do {
    viewers.emplace_back(server.url(), "GET /events HTTP/1.1\\r\\nHost: localhost\\r\\n\\r\\n");
    std::getline(viewers.back(), answer);
  } while (answer == "HTTP/1.1 200 OK\r");
  EXPECT_EQ(viewers.size(), 65U);
  EXPECT_EQ(answer, "HTTP/1.1 503 Service Unavailable\r");
}

}  // namespace
}  // namespace BX::viewer
