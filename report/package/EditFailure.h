#pragma once

namespace zorbel {

/// Thrown inside the package editing only; the sentence becomes the result's error.
struct EditFailure {
    const char* sentence;
};

inline constexpr char unreadablePackage[] = "The report is not a readable Word package.";
inline constexpr char uneditableBody[] = "The report body is not in a shape this viewer can edit.";
inline constexpr char uneditableMedia[] = "The report package could not be updated to carry key images.";

} // namespace zorbel
