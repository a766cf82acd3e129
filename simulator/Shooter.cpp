#include "simulator/Shooter.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "simulator/DeviceWire.h"

// Only additions, multiplications and divisions of doubles, which are the same everywhere; no library function that
// leaves its last digit, or its algorithm, to the machine.
//
// Positions are angles on the wire: a raw value times distance / 300 is the position on the target, in millimetres when
// the distance is in metres, so that one unit is a three-hundredth of a milliradian. A good pistol shooter's hits
// scatter by about 1.2 milliradians, 367 units: 30 mm at 25 m, most of them within the nine ring of the precision
// target.

namespace BX::sim {

namespace {

constexpr std::uint32_t samplePeriod = 20;  // ms

// Lengths in samples.
constexpr int firstShot = 90;
constexpr int shortestCycle = 125;
constexpr int longestCycle = 200;
constexpr int loweringLength = 20;
constexpr int raisingLength = 35;

// Raw units.
constexpr double holdScatter = 330;
constexpr double tremorScatter = 160;
constexpr double restHeight = -4500;
constexpr double restScatter = 400;
constexpr double kickHeight = 1500;
constexpr double kickScatter = 300;
constexpr double signalRange = 3500;  // farther out the receivers barely see the beam

constexpr double settlingUnrest = 3;
constexpr double settlingRate = 0.93;  // a sample
constexpr double kickDecay = 0.8;      // a sample

// Beyond this distance, in tenths of a metre, people rest the weapon: the scatter on the target grows no further.
constexpr double steadyDistance = 250;

// Thousandths of a sine.
constexpr double cantScatter = 15;
constexpr double turnScatter = 8;

constexpr double signalLevel = 900;
constexpr double signalScatter = 30;
constexpr std::uint8_t lowSignal = 0x01;

constexpr std::size_t measurementSize = 17;
constexpr std::size_t shotSize = 30;

// From 0 to 1 with no speed at either end.
double smooth(double x) { return x * x * (3 - 2 * x); }

void put16(Bytes& bytes, std::size_t offset, unsigned value) {
  bytes[offset] = static_cast<std::uint8_t>(value >> 8);
  bytes[offset + 1] = static_cast<std::uint8_t>(value);
}

void putSigned16(Bytes& bytes, std::size_t offset, double value) {
  const long rounded = std::lround(std::clamp(value, -32768.0, 32767.0));
  put16(bytes, offset, static_cast<unsigned>(rounded));
}

}  // namespace

double Shooter::Tremor::next(Shooter& shooter) {
  constexpr double memory = 0.9;
  constexpr double fresh = 0.4358898943540674;  // keeps the deviation at 1: the root of 1 - memory squared
  value_ = memory * value_ + fresh * shooter.normal();
  return value_;
}

Shooter::Shooter(std::uint64_t seed, const Setting& setting)
    : engine_(seed),
      setting_(setting),
      scale_(steadyDistance / std::max(steadyDistance, static_cast<double>(setting.distance))) {
  beginCycle(0, firstShot);
}

double Shooter::uniform() {
  constexpr double unit = 1.0 / (std::uint64_t{1} << 53);
  return static_cast<double>(engine_() >> 11) * unit;
}

// The sum of twelve uniform numbers is close enough to a bell curve, and exact.
double Shooter::normal() {
  double sum = -6;
  for (int i = 0; i < 12; ++i) sum += uniform();
  return sum;
}

void Shooter::beginCycle(int lowering, int length) {
  lastHold_ = hold_;
  rest_.x = restScatter * normal();
  rest_.y = restHeight + restScatter * normal();
  hold_.x = holdScatter * normal();
  hold_.y = holdScatter * normal();
  unrest_ = settlingUnrest;
  lowering_ = lowering;
  length_ = length;
  sample_ = 0;
}

// Where the weapon points but for tremor and recoil: down to rest, up to the hold, and there it stays.
Shooter::Point Shooter::sweep() const {
  const bool goingDown = sample_ < lowering_;
  const Point& from = goingDown ? lastHold_ : rest_;
  const Point& to = goingDown ? rest_ : hold_;
  const double progress =
      goingDown ? double(sample_) / lowering_ : std::min(1.0, double(sample_ - lowering_) / raisingLength);
  const double share = smooth(progress);
  return {from.x + (to.x - from.x) * share, from.y + (to.y - from.y) * share};
}

void Shooter::moveAim() {
  const Point point = sweep();
  if (sample_ >= lowering_ + raisingLength) unrest_ = 1 + (unrest_ - 1) * settlingRate;
  kick_.x *= kickDecay;
  kick_.y *= kickDecay;
  aim_.x = scale_ * (point.x + kick_.x + tremorScatter * unrest_ * tremorX_.next(*this));
  aim_.y = scale_ * (point.y + kick_.y + tremorScatter * unrest_ * tremorY_.next(*this));
  cant_.next(*this);
  turn_.next(*this);
}

Bytes Shooter::next() {
  if (firing_) {
    firing_ = false;
    Bytes record = shot();
    kick_ = {kickScatter * normal(), kickHeight + kickScatter * normal()};
    const int spread = longestCycle - shortestCycle + 1;
    beginCycle(loweringLength, shortestCycle + static_cast<int>(uniform() * spread));
    return record;
  }
  moveAim();
  time_ += samplePeriod;
  firing_ = ++sample_ == length_;
  return measurement();
}

Bytes Shooter::measurement() const {
  Bytes record(measurementSize);
  record[0] = wire::record;
  record[1] = wire::measurementRecord;
  put16(record, 2, time_ / samplePeriod);  // a running number
  putSigned16(record, 4, aim_.x);
  putSigned16(record, 6, aim_.y);
  putSigned16(record, 8, cantScatter * cant_.value());
  putSigned16(record, 10, turnScatter * turn_.value());
  put16(record, 14, setting_.distance);
  const double range = scale_ * signalRange;
  record[16] = aim_.x * aim_.x + aim_.y * aim_.y > range * range ? lowSignal : 0;
  return record;
}

Bytes Shooter::shot() {
  Bytes record(shotSize);
  record[0] = wire::record;
  record[1] = wire::shotRecord;
  record[2] = ++shots_;
  putSigned16(record, 4, aim_.x);
  putSigned16(record, 6, aim_.y);
  putSigned16(record, 8, cantScatter * cant_.value());
  putSigned16(record, 10, turnScatter * turn_.value());
  record[14] = setting_.ringTarget;
  record[15] = setting_.silhouetteTarget;
  record[16] = setting_.mode;
  record[18] = static_cast<std::uint8_t>(time_ >> 16);
  put16(record, 19, time_);
  putSigned16(record, 22, signalLevel + signalScatter * normal());
  put16(record, 28, setting_.distance);
  return record;
}

}  // namespace BX::sim
