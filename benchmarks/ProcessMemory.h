#pragma once

namespace zorbel::bench {

/// Resident memory of this process, in MB of 10^6 bytes, as the kernel counts it (VmRSS). Throws
/// std::runtime_error where the kernel does not tell.
double residentMegabytes();

/// The most there ever was (VmHWM), since the start or the last resetPeak().
double peakMegabytes();

/// Begins the peak anew with what is resident now.
void resetPeak();

} // namespace zorbel::bench
