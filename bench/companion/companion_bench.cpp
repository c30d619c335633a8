// One animation frame of the mascot should cost a small multiple of the barest
// frame a widget of its size can paint, and well under 2 ms. Measures, in the same
// run and alternating which goes first each round, 300 frames at the panel's size
// on a 2x surface:
//   floor:  clear the surface and fill one antialiased ellipse;
//   mascot: clear the surface and draw the mascot's pose at that moment, the
//           moods taking turns every 60 frames.
// Costs are CPU time of this thread; each line gives the cheapest, median and
// dearest round, and the ratio of the cheapest to the floor's cheapest.
// Then it shows the companion panel for a second and hides it for a second on the
// offscreen platform, counting the mascot's frames: at most 30 a second while
// shown, none at all while hidden.
#include <time.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QPainter>
#include <algorithm>
#include <cstdio>
#include <vector>

#include "gui/app_model.h"
#include "gui/companion/companion_panel.h"
#include "gui/companion/mascot_painter.h"

using namespace kelo::gui;

namespace {

constexpr int kFrames = 300;
constexpr int kRounds = 9;

double threadSeconds() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

QImage surface() {
    QImage image(192, 192, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(2);
    return image;
}

double floorFrames(QImage& image) {
    const double start = threadSeconds();
    for (int i = 0; i < kFrames; ++i) {
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0xf2, 0xa3, 0x3a));
        painter.drawEllipse(QRectF(10, 10, 76, 76));
    }
    return (threadSeconds() - start) / kFrames;
}

double mascotFrames(QImage& image, BlinkSchedule& blinks) {
    const double start = threadSeconds();
    for (int i = 0; i < kFrames; ++i) {
        image.fill(Qt::transparent);
        QPainter painter(&image);
        const Mood mood = kMoods[static_cast<std::size_t>(i / 60 % 5)].first;
        paintMascot(painter, QRectF(0, 0, 96, 96), poseFor(mood, i / 30.0, blinks, false));
    }
    return (threadSeconds() - start) / kFrames;
}

void report(const char* name, std::vector<double> perFrame, double floor) {
    std::sort(perFrame.begin(), perFrame.end());
    std::printf("%-8s %.3f / %.3f / %.3f ms per frame (cheapest / median / dearest of %d rounds)  x%.1f floor\n", name,
                perFrame.front() * 1e3, perFrame[perFrame.size() / 2] * 1e3, perFrame.back() * 1e3, kRounds,
                perFrame.front() / floor);
}

int framesDuring(QWidget& panel, MascotWidget& mascot, bool shown, int milliseconds) {
    panel.setVisible(shown);
    QCoreApplication::processEvents();
    const int before = mascot.framesDrawn();
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < milliseconds) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
    return mascot.framesDrawn() - before;
}

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QImage image = surface();
    BlinkSchedule blinks(1);
    std::vector<double> floors, mascots;
    for (int round = 0; round < kRounds; ++round) {
        if (round % 2) {
            floors.push_back(floorFrames(image));
            mascots.push_back(mascotFrames(image, blinks));
        } else {
            mascots.push_back(mascotFrames(image, blinks));
            floors.push_back(floorFrames(image));
        }
    }
    const double floor = *std::min_element(floors.begin(), floors.end());
    std::printf("%d frames of 96 x 96 at 2x\n", kFrames);
    report("floor", floors, 1.0 * floor);
    report("mascot", mascots, floor);

    AppModel model;  // never started: the panel shows its waiting text
    CompanionPanel panel(model);
    const int shownFrames = framesDuring(panel, *panel.mascot(), true, 1000);
    const int hiddenFrames = framesDuring(panel, *panel.mascot(), false, 1000);
    std::printf("companion shown 1 s: %d frames (at most 30); hidden 1 s: %d frames\n", shownFrames, hiddenFrames);
    return hiddenFrames == 0 ? 0 : 1;
}
