// Each line of a session exactly once into the database, whatever is lost, doubled, late or out of order on its way: a
// gate sends on from what is confirmed, and only what is committed is confirmed.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "RecordsMessage.h"
#include "Store.h"

namespace BX::range {

// Used by one thread. Between commits it remembers what came since the last one, and nothing else: what the database
// holds is all the truth.
class Intake {
 public:
  explicit Intake(Store& store) : store_(store) {}

  // A message of this lane's records. Takes what goes on where its session stands and drops what is known; beyond a gap
  // it takes nothing. Neither is a fault. Throws Unusable for what no gate sends, and DatabaseError.
  void take(const std::string& machine, const std::string& lane, std::string_view message);

  // Makes it lasting, and gives where each session stands of which anything came. Throws DatabaseError, and nothing of
  // it was taken then.
  std::vector<Standing> commit();

  std::size_t bytes() const { return bytes_; }          // waiting to be committed
  std::size_t committed() const { return committed_; }  // lines, by this object

 private:
  struct Arrived {
    Kept kept;
    Addition addition;
  };

  Arrived& of(const SessionName& name);
  void append(Arrived& arrived, const RecordsMessage& chunk);

  Store& store_;
  std::map<SessionName, Arrived> arrived_;
  std::size_t bytes_ = 0;
  std::size_t committed_ = 0;
};

}  // namespace BX::range
