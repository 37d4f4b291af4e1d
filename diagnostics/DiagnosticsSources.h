#pragma once

#include "diagnostics/DiagnosticsReport.h"

#include <functional>
#include <string>
#include <vector>

namespace zorbel {

/// Who tells what: each part of the program that knows something adds a section of its own. A section that
/// fails says so, and no other is the worse for it.
class DiagnosticsSources {
public:
    /// Any thread, as often as wanted.
    using Task = std::function<DiagnosticsJson()>;

    /// values: cheap; called on the user-interface thread.
    void add(std::string id, std::string title, std::function<DiagnosticsJson()> values);
    /// prepare: takes on the user-interface thread what its task needs, which is then called in the
    /// background.
    void addMeasured(std::string id, std::string title, std::function<Task()> prepare);

    /// Takes all that is only known on the user-interface thread; what it returns comes to the report on any
    /// other.
    std::function<DiagnosticsReport()> prepare() const;

private:
    struct Source {
        std::string id;
        std::string title;
        std::function<Task()> prepare;
    };
    std::vector<Source> sources_;
};

} // namespace zorbel
