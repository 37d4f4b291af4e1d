#include "benchmarks/Statistics.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace zorbel::bench {

double median(std::vector<double> values) {
    if (values.empty())
        throw std::invalid_argument("There is no median of no values");
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2.0;
}

PairedMedians
medianInTurn(int runs, const std::function<double()>& ours, const std::function<double()>& reference) {
    ours();
    reference();
    std::vector<double> oursTaken;
    std::vector<double> referenceTaken;
    for (int run = 0; run < runs; ++run) {
        if (run % 2 == 0) {
            oursTaken.push_back(ours());
            referenceTaken.push_back(reference());
        } else {
            referenceTaken.push_back(reference());
            oursTaken.push_back(ours());
        }
    }
    return {median(std::move(oursTaken)), median(std::move(referenceTaken))};
}

} // namespace zorbel::bench
