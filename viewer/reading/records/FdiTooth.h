#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zorbel {

/// A tooth by its two-digit code of the FDI notation: quadrant, then place counted from the midline.
/// Permanent teeth have the quadrants 1 to 4 and the places 1 to 8, primary teeth 5 to 8 and 1 to 5. Always
/// valid.
class FdiTooth {
public:
    /// Nothing for a code that names no tooth.
    static std::optional<FdiTooth> fromCode(int code);

    int code() const { return code_; }
    /// 1 to 8.
    int quadrant() const { return code_ / 10; }
    /// 1 to 8 from the midline outwards.
    int place() const { return code_ % 10; }
    bool isPrimary() const { return quadrant() > 4; }
    /// "lower right"; the patient's right.
    std::string_view quadrantName() const;
    /// "third molar", "second molar (primary)".
    std::string name() const;
    /// "FDI 48 — lower right third molar" (UTF-8).
    std::string siteLabel() const;

    friend bool operator==(const FdiTooth&, const FdiTooth&) = default;

private:
    explicit FdiTooth(int code) : code_(code) {}
    int code_;
};

} // namespace zorbel
