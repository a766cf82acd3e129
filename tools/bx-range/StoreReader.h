// What stands in an archive's database, while an archive may be writing to it.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Store.h"

namespace BX::range {

// All of it throws DatabaseError.
class StoreReader {
 public:
  struct Session {
    SessionName name;
    Kept kept;
    std::string start;
    bool hasTraces = true;  // false: its chunks were deleted
  };

  explicit StoreReader(const std::string& path);

  // By their starts.
  std::vector<Session> sessions();
  // Gives the session file as far as it is there, in parts, while `take` wants more.
  void read(const Session& session, const std::function<bool(std::string_view)>& take);

 private:
  Database database_;
};

// "a/1/5034": machine, lane and number.
std::string nameOf(const SessionName& name);

}  // namespace BX::range
