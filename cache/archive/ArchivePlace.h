#pragma once

#include <filesystem>
#include <vector>

namespace zorbel {

/// The names of an archive's final folder and of what lies beside it, and the clearing up after writers that
/// were killed. Whoever changes anything holds the lock. No operation follows a link. Only those that say so
/// fail; the others do what the disk allows.
class ArchivePlace {
public:
    /// The folder must have a name and a parent.
    explicit ArchivePlace(std::filesystem::path finalDirectory) : final_(std::move(finalDirectory)) {}

    const std::filesystem::path& finalDirectory() const { return final_; }
    std::filesystem::path parent() const { return final_.parent_path(); }
    std::filesystem::path lockFile() const;
    // Names that nothing has yet.
    std::filesystem::path newStaging() const;
    std::filesystem::path newQuarantine() const;
    std::filesystem::path newDamaged() const;

    /// Nothing at all lies under the final name.
    bool isVacant() const;
    /// A writer was killed, or is at work, between moving the earlier copy away and putting the new one in
    /// its place.
    bool isHalfReplaced() const;
    /// A writer is at work beside the final folder, or was killed at it.
    bool hasLeftovers() const;

    /// Puts back the earlier copy of a half replaced archive, then removes what killed writers left, but for
    /// damaged copies. Under the lock.
    void recover() const;
    /// Removes damaged copies that were set aside, except one. Under the lock.
    void removeDamaged(const std::filesystem::path& except = {}) const;

private:
    std::vector<std::filesystem::path> besides(const char* infix) const;
    std::vector<std::filesystem::path> quarantined() const;

    std::filesystem::path final_;
};

} // namespace zorbel
