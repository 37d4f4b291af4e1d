#pragma once

#include <functional>
#include <vector>

namespace zorbel::bench {

/// The middle value; of an even number of values, the mean of the two in the middle. Throws
/// std::invalid_argument without a value.
double median(std::vector<double> values);

struct PairedMedians {
    double ours = 0.0;
    double reference = 0.0;
};

/// Runs both once unmeasured, then `runs` times each in turn, the one first and then the other, so that what
/// else the machine does falls on both. Each function returns its figure.
PairedMedians
medianInTurn(int runs, const std::function<double()>& ours, const std::function<double()>& reference);

} // namespace zorbel::bench
