// All lanes of a range, fed to the viewers of a board: first all of them, then those that changed.
//
//   broker  whether the board is connected to it
//   lanes   lane ("a/7"), name (of the shooter, or empty), state, since, reason, score (BoardLane.h, or null), face
//   faces   id, shapes (SVG)
//
// "board" is the event of all of them, which takes the place of all before; changes have no name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "BoardLane.h"
#include "viewer/EventServer.h"

namespace BX::range {

// Of shooters, by lane ("a/7").
using Names = std::map<std::string, std::string, std::less<>>;

class BoardFeed : public viewer::Feed {
 public:
  explicit BoardFeed(const std::string& range);

  // Retained messages, of a machine or of a lane ("a/7"); an empty one: it was cleared. False when it makes no sense,
  // or is of one lane too many, and is left out.
  bool takeMachine(const std::string& machine, std::string_view payload);
  bool takeStatus(const std::string& name, std::string_view payload);
  bool takeScore(const std::string& name, std::string_view payload);
  void setNames(Names names);
  void setBroker(bool isConnected);

  // The broker tells all that it retains anew; what it did not tell since the last `beginRound` is gone.
  void beginRound() { ++round_; }
  void endRound();

  std::string page() override { return page_; }
  std::shared_ptr<const std::string> next(viewer::Place& place) override;

 private:
  template <class T>
  struct Told {
    T what;
    std::uint64_t round = 0;
  };
  struct Lane {
    std::optional<Told<Status>> status;
    std::optional<Told<std::string>> score;
    std::uint64_t face = 0;     // by its id; 0: none
    std::uint64_t changed = 0;  // the number of the event
  };
  struct Face {
    std::uint64_t id = 0;  // the number of the event that it came with
    std::string shapes;
  };

  // Has `apply` change the lane, which is there from its first message on until the last is cleared.
  template <class Function>
  bool change(const std::string& name, bool isCleared, Function apply);
  void changeAll();
  std::uint64_t faceOf(const std::string& shapes);
  void removeWhatIsGone();
  Status stateOf(const std::string& name, const Lane& lane) const;
  std::string textOf(const std::string& name, const Lane& lane) const;
  // Nothing: of all.
  std::string eventSince(std::optional<std::uint64_t> event) const;

  const std::string page_;
  std::map<std::string, Told<Status>, std::less<>> machines_;
  std::map<std::string, Lane, std::less<>> lanes_;
  std::vector<Face> faces_;
  Names names_;
  bool isConnected_ = false;  // to the broker
  std::uint64_t round_ = 0;
  std::uint64_t number_;                                                  // of the last event
  std::uint64_t wholeFrom_;                                               // whoever has an earlier one needs all
  std::map<std::uint64_t, std::shared_ptr<const std::string>> prepared_;  // by the event that a viewer has; 0: none
};

}  // namespace BX::range
