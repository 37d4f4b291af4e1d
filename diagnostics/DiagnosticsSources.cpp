#include "diagnostics/DiagnosticsSources.h"

#include <exception>
#include <utility>

namespace zorbel {

namespace {

DiagnosticsJson failure(const std::exception& error) {
    return {{"failure", error.what()}};
}

} // namespace

void DiagnosticsSources::add(std::string id, std::string title, std::function<DiagnosticsJson()> values) {
    addMeasured(std::move(id), std::move(title), [values = std::move(values)]() -> Task {
        return [told = values()] { return told; };
    });
}

void DiagnosticsSources::addMeasured(std::string id, std::string title, std::function<Task()> prepare) {
    sources_.push_back({std::move(id), std::move(title), std::move(prepare)});
}

std::function<DiagnosticsReport()> DiagnosticsSources::prepare() const {
    struct Prepared {
        std::string id;
        std::string title;
        Task task;
    };
    std::vector<Prepared> prepared;
    for (const Source& source : sources_) {
        Task task;
        try {
            task = source.prepare();
        } catch (const std::exception& error) {
            task = [values = failure(error)] { return values; };
        }
        prepared.push_back({source.id, source.title, std::move(task)});
    }
    return [prepared = std::move(prepared)] {
        DiagnosticsReport report;
        for (const Prepared& section : prepared) {
            try {
                report.push_back({section.id, section.title, section.task()});
            } catch (const std::exception& error) {
                report.push_back({section.id, section.title, failure(error)});
            }
        }
        return report;
    };
}

} // namespace zorbel
