// What a lane sends, against an archive that forgets and a broker that loses.
#include "tools/bx-range/Sender.h"

#include <gmock/gmock.h>

#include <deque>
#include <map>
#include <random>

namespace BX::range {
namespace {

using ::testing::Optional;
using Clock = Sender::Clock;

// Keeps what goes on where it stands, and drops the rest.
struct ModelArchive {
  struct Kept {
    std::size_t lines = 0;
    bool isEnded = false;
  };

  void take(const Chunk& chunk) {
    Kept& kept = pending[chunk.session];
    if (chunk.first <= kept.lines) kept.lines = std::max(kept.lines, chunk.first + chunk.count);
    if (chunk.isEnd && chunk.first == kept.lines) kept.isEnded = true;
    last = chunk.session;
  }
  Confirmation commit() {
    committed = pending;
    return {last, committed[last].lines, committed[last].isEnded};
  }
  void crash() { pending = committed; }
  // All but what was confirmed as a whole: nobody sends that again.
  void restore(const ModelArchive& copy, const Sender& sender) {
    for (auto& [session, kept] : pending) {
      const auto copied = copy.pending.find(session);
      if (sender.knows(session)) kept = copied == copy.pending.end() ? Kept() : copied->second;
    }
    committed = pending;
  }

  std::map<SessionNumber, Kept> pending, committed;
  SessionNumber last = 0;
};

TEST(Sender, SendsAllWhateverIsLost) {
  for (unsigned seed = 0; seed < 200; ++seed) {
    std::mt19937 random(seed);
    const auto happens = [&](unsigned percent) { return random() % 100 < percent; };
    Sender sender;
    ModelArchive archive, copy;
    std::deque<Confirmation> confirmations;
    const std::map<SessionNumber, std::size_t> sessions = {{7, 9000}, {5, 1}, {9, 4000}};
    for (const SessionNumber session : {7U, 5U, 9U}) {
      sender.begin(session);
      sender.grow(sessions.at(session));
      sender.end();
    }
    Clock::time_point now;
    for (int step = 0; sender.waiting() > 0; ++step) {
      ASSERT_LT(step, 5000) << seed;
      now += std::chrono::milliseconds(500);
      const bool isQuiet = step > 100;  // from here on nothing is lost
      while (const auto chunk = sender.next(now)) {
        ASSERT_LE(chunk->count, Sender::mostLines);
        if (isQuiet || !happens(5)) archive.take(*chunk);
      }
      if (!isQuiet && happens(10)) archive.crash();
      if (!isQuiet && happens(5)) copy = archive;
      if (!isQuiet && confirmations.empty() && happens(3)) archive.restore(copy, sender);
      if (!isQuiet && happens(10)) sender.reconnect();
      if (archive.last != 0) confirmations.push_back(archive.commit());
      if (!isQuiet && happens(20)) continue;  // the answer comes late
      for (; !confirmations.empty(); confirmations.pop_front()) sender.confirm(confirmations.front(), now);
    }
    for (const auto& [session, lines] : sessions) {
      EXPECT_TRUE(archive.committed[session].isEnded) << seed;
      EXPECT_EQ(archive.committed[session].lines, lines) << seed;
    }
  }
}

TEST(Sender, GoesNoFurtherThanItMayAndBackWhenNothingMoves) {
  Sender sender;
  Clock::time_point now;
  const auto sendAll = [&] {
    std::size_t end = 0;
    while (const auto chunk = sender.next(now)) end = chunk->first + chunk->count;
    return end;
  };
  sender.begin(1);
  sender.grow(10'000);
  std::size_t sent = 0;
  for (const std::size_t ahead : {200U, 400U, 800U, 1600U, 3000U, 3000U}) {
    sender.confirm({1, sent, false}, now);
    EXPECT_EQ(sendAll(), sent + ahead);
    sent += 100;
  }
  now += Sender::patience - std::chrono::milliseconds(1);
  sender.confirm({2, 9000, true}, now);  // of another session
  sender.confirm({1, 500, false}, now);  // no progress
  EXPECT_FALSE(sender.next(now));
  now += std::chrono::milliseconds(1);
  EXPECT_THAT(sender.next(now), Optional(Chunk{1, 500, 200, false}));
  sender.confirm({1, 100, false}, now);  // restored from a copy
  EXPECT_THAT(sender.next(now), Optional(Chunk{1, 100, 200, false}));
  sender.confirm({1, 9900, false}, now);  // knows more than this run has sent
  EXPECT_THAT(sender.next(now), Optional(Chunk{1, 9900, 100, false}));
  sender.end();
  EXPECT_THAT(sender.next(now), Optional(Chunk{1, 10'000, 0, true}));
  sender.begin(2);
  sender.grow(1);
  EXPECT_FALSE(sender.next(now));  // before the end of the one before it is kept
  EXPECT_FALSE(sender.confirm({1, 10'000, false}, now));
  EXPECT_THAT(sender.confirm({1, 10'000, true}, now), Optional(1U));
  EXPECT_THAT(sender.next(now), Optional(Chunk{2, 0, 1, false}));
  sender.end();
  sender.begin(3);
  sender.grow(1);
  sender.end();
  EXPECT_THAT(sender.confirm({3, 1, true}, now), Optional(3U));  // to an earlier run
  EXPECT_THAT(sender.next(now), Optional(Chunk{2, 1, 0, true}));
  sender.recall(1, 10'000);
  sender.confirm({1, 9900, false}, now);
  EXPECT_THAT(sender.next(now), Optional(Chunk{1, 9900, 100, false}));
}

}  // namespace
}  // namespace BX::range
