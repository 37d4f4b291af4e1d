#pragma once

#include <QByteArray>

#include <filesystem>
#include <string>
#include <string_view>

namespace zorbel {

/// Short names in the place of identifiers: the same identifier has the same name wherever the key is the
/// same, and nobody without the key can tell which identifier a name stands for, nor try one. Value type.
class KeyedNames {
public:
    explicit KeyedNames(QByteArray key) : key_(std::move(key)) {}
    /// With this computer's own key, in a private file that is made where there is none. A key that cannot be
    /// kept serves this object alone.
    static KeyedNames ofThisComputer(const std::filesystem::path& keyFile);

    /// "study-3fa9c2d17b".
    std::string of(std::string_view kind, std::string_view identifier) const;

private:
    QByteArray key_;
};

} // namespace zorbel
