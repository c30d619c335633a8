// MascotPose: where the mascot's parts are at one moment, as plain numbers the
// painter reads (sizes are fractions of the mascot's height). poseFor turns a mood
// and a time into a pose; BlinkSchedule gives the random moments the idle mascot
// blinks, drawn from a seed so a test can replay them. No widgets; pure apart from
// the schedule's own memory. One owner at a time.
#pragma once

#include <cstdint>
#include <random>

#include "gui/companion/mascot_mood.h"

namespace kelo::gui {

struct MascotPose {
    Mood mood = Mood::idle;
    double squash = 1.0;   // vertical scale of the body: breathing
    double lift = 0.0;     // how far the body rises above its resting place
    double tilt = 0.0;     // degrees, positive leans right
    double eyeOpen = 1.0;  // 0 closed .. 1 open
    double gaze = 0.0;     // -1 looking left .. 1 right
    double smile = 0.3;    // -1 frown .. 1 wide smile
    double spinner = -1;   // busy: phase 0..1 of the dots circling the head; <0 none
    double zzz = -1;       // asleep: phase 0..1 of the rising "z"; <0 none
    bool sweat = false;    // concerned: a drop at the temple

    friend bool operator==(const MascotPose&, const MascotPose&) = default;
};

// When the mascot blinks: intervals drawn uniformly between kShortest and kLongest
// seconds from a generator seeded once, each blink lasting kBlinkLength.
class BlinkSchedule {
public:
    static constexpr double kShortest = 2.0;
    static constexpr double kLongest = 6.0;
    static constexpr double kBlinkLength = 0.18;

    explicit BlinkSchedule(std::uint32_t seed);

    // How open the eyes are at `t` seconds after the schedule's start: 1 between
    // blinks, down to 0 in the middle of one. Times may go backwards (the schedule
    // then replays from its seed).
    double eyeOpenAt(double t);
    // The start of the first blink after `t`.
    double nextBlinkAfter(double t);

private:
    void restart();
    void advancePast(double t);

    std::uint32_t seed_;
    std::mt19937 random_;
    double current_ = 0;  // start of the blink at or before the last time asked
    double next_ = 0;     // start of the one after it
};

// The pose of `mood` at `t` seconds. With `reduceMotion` the pose is the mood's
// still one whatever `t` is, and the schedule is not consulted.
MascotPose poseFor(Mood mood, double t, BlinkSchedule& blinks, bool reduceMotion);

// Animation runs at most this often; the widget's timer uses it.
inline constexpr int kFrameIntervalMs = 34;  // just under 30 frames per second

}  // namespace kelo::gui
