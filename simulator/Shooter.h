// The built-in shooter: raises the weapon, settles on the target, holds, fires, takes the recoil and lowers the weapon
// again, shot after shot. A pure sequence: the same seed and setting give the same bytes on every machine.
#pragma once

#include <cstdint>
#include <random>

#include "simulator/Simulator.h"

namespace BX::sim {

class Shooter {
 public:
  struct Setting {
    std::uint8_t mode;
    std::uint8_t ringTarget;
    std::uint8_t silhouetteTarget;
    std::uint16_t distance;  // to the target, tenths of a metre
  };

  Shooter(std::uint64_t seed, const Setting& setting);

  // The next record: a measurement for every 20 ms of the shooter's time, and a shot right after the measurement that
  // it was fired at. How fast the records are sent changes nothing in them.
  Bytes next();

 private:
  struct Point {
    double x = 0;
    double y = 0;
  };
  // Noise with a memory, of mean 0 and deviation 1.
  class Tremor {
   public:
    double next(Shooter& shooter);
    double value() const { return value_; }

   private:
    double value_ = 0;
  };

  double uniform();
  double normal();
  void beginCycle(int lowering, int length);
  Point sweep() const;
  void moveAim();
  Bytes measurement() const;
  Bytes shot();

  std::mt19937_64 engine_;
  Setting setting_;
  double scale_;  // shrinks angles for far targets

  Point rest_;      // where the weapon points between shots
  Point lastHold_;  // what was held on for the shot before
  Point hold_;      // what this shot is held on
  Point kick_;
  Tremor tremorX_, tremorY_, cant_, turn_;
  double unrest_ = 0;  // of the hold: settles to 1

  Point aim_;
  int lowering_ = 0;  // samples
  int length_ = 0;    // samples until the shot
  int sample_ = 0;    // of this cycle
  bool firing_ = false;
  std::uint32_t time_ = 0;  // ms
  std::uint8_t shots_ = 0;
};

}  // namespace BX::sim
