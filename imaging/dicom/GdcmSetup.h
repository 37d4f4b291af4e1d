#pragma once

namespace zorbel::imaging {

/// Silences GDCM's trace output, which would name files and values on standard error, and loads its
/// dictionaries before several threads ask for them. Any thread, any number of times.
void prepareGdcm();

} // namespace zorbel::imaging
