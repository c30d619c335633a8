#include "gui/companion/mascot_pose.h"

#include <cmath>
#include <numbers>

namespace kelo::gui {

namespace {

constexpr double kTau = 2 * std::numbers::pi;

// 0..1..0 over one period.
double wave(double t, double period) {
    return 0.5 - 0.5 * std::cos(kTau * t / period);
}

double phase(double t, double period) {
    const double p = std::fmod(t, period) / period;
    return p < 0 ? p + 1 : p;
}

MascotPose still(Mood mood) {
    MascotPose pose;
    pose.mood = mood;
    switch (mood) {
        case Mood::idle: break;
        case Mood::happy:
            pose.smile = 1.0;
            pose.lift = 0.03;
            break;
        case Mood::busy:
            pose.smile = 0.1;
            pose.gaze = 0.4;
            pose.spinner = 0.15;
            break;
        case Mood::concerned:
            pose.smile = -0.6;
            pose.tilt = -4;
            pose.sweat = true;
            break;
        case Mood::asleep:
            pose.eyeOpen = 0;
            pose.smile = 0.05;
            pose.squash = 0.96;
            pose.zzz = 0.55;
            break;
    }
    return pose;
}

}  // namespace

BlinkSchedule::BlinkSchedule(std::uint32_t seed) : seed_(seed) {
    restart();
}

void BlinkSchedule::restart() {
    random_.seed(seed_);
    current_ = -kLongest;  // no blink at the very start
    std::uniform_real_distribution<double> interval(kShortest, kLongest);
    next_ = interval(random_);
}

void BlinkSchedule::advancePast(double t) {
    if (t < current_) restart();
    std::uniform_real_distribution<double> interval(kShortest, kLongest);
    while (next_ <= t) {
        current_ = next_;
        next_ += interval(random_);
    }
}

double BlinkSchedule::eyeOpenAt(double t) {
    advancePast(t);
    const double into = t - current_;
    if (into < 0 || into >= kBlinkLength) return 1.0;
    return std::abs(1.0 - 2.0 * into / kBlinkLength);  // closes, then opens again
}

double BlinkSchedule::nextBlinkAfter(double t) {
    advancePast(t);
    return next_;
}

MascotPose poseFor(Mood mood, double t, BlinkSchedule& blinks, bool reduceMotion) {
    MascotPose pose = still(mood);
    if (reduceMotion) return pose;
    switch (mood) {
        case Mood::idle:
            pose.squash = 1.0 + 0.03 * (wave(t, 4.0) - 0.5);
            pose.eyeOpen = blinks.eyeOpenAt(t);
            pose.gaze = 0.25 * std::sin(kTau * t / 11.0);
            break;
        case Mood::happy:
            pose.lift = 0.06 * std::abs(std::sin(kTau * t / 1.2));
            pose.squash = 1.0 - 0.04 * (1.0 - std::abs(std::sin(kTau * t / 1.2)));
            pose.eyeOpen = blinks.eyeOpenAt(t);
            break;
        case Mood::busy:
            pose.spinner = phase(t, 1.2);
            pose.gaze = 0.5 * std::sin(kTau * t / 1.2);
            pose.squash = 1.0 + 0.02 * (wave(t, 0.6) - 0.5);
            pose.eyeOpen = blinks.eyeOpenAt(t);
            break;
        case Mood::concerned:
            pose.tilt = -4 + 3 * std::sin(kTau * t / 3.0);
            pose.eyeOpen = blinks.eyeOpenAt(t);
            pose.squash = 1.0 + 0.02 * (wave(t, 3.0) - 0.5);
            break;
        case Mood::asleep:
            pose.squash = 0.96 + 0.04 * wave(t, 6.0);
            pose.zzz = phase(t, 3.0);
            break;
    }
    return pose;
}

}  // namespace kelo::gui
