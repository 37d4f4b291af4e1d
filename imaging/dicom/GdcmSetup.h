#pragma once

namespace zorbel::imaging {

/// Ends GDCM's trace output, which would name values of the files on standard error. Any thread, any number
/// of times.
void silenceGdcm();

} // namespace zorbel::imaging
