#pragma once

#include <QString>

#include <optional>

namespace zorbel {

/// The parts of the tour that need a program of their own, which the tour starts as itself once its main part
/// has ended.
enum class TourLeg {
    Main,
    Crash,     ///< ends by a fault
    AfterCrash ///< the next start
};

/// From the command line's words after the folder; empty for words that mean nothing.
struct TourPart {
    TourLeg leg = TourLeg::Main;
    int picturesBefore = 0; ///< numbers that are used
    static std::optional<TourPart> of(int count, char** words);
};

/// Runs the further legs, one after the other; whether each ended as it has to. program, folder: how this one
/// was started.
bool runFurtherLegs(const char* program, const char* folder, int picturesBefore);

/// A leg's program ends with the one that has started it.
void endWithStarter();

} // namespace zorbel
