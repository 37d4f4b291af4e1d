#include "demo/DemoArchive.h"

#include "demo/OrthancProcess.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <stdexcept>

namespace zorbel::demo {

using nlohmann::json;

namespace {

std::string tag(const json& object, const char* group, const char* name) {
    const auto tags = object.find(group);
    return tags == object.end() ? std::string() : tags->value(name, std::string());
}

/// "Family^Given^Middle" as people write it.
std::string plainName(std::string name) {
    std::replace(name.begin(), name.end(), '^', ' ');
    const auto twoBlanks = [](char a, char b) { return a == ' ' && b == ' '; };
    name.erase(std::unique(name.begin(), name.end(), twoBlanks), name.end());
    name.erase(name.find_last_not_of(' ') + 1);
    return name;
}

/// A real service sends ISO dates for what it imported itself and DICOM dates for the rest: so does this one.
std::string studyDate(const std::string& dicomDate, bool iso) {
    if (!iso || dicomDate.size() != 8) {
        return dicomDate;
    }
    return dicomDate.substr(0, 4) + "-" + dicomDate.substr(4, 2) + "-" + dicomDate.substr(6, 2) +
           "T00:00:00.000Z";
}

json studyRow(const json& study, const std::vector<const json*>& series) {
    const std::string uid = tag(study, "MainDicomTags", "StudyInstanceUID");
    json modalities = json::array();
    std::string bodyPart;
    std::size_t instances = 0;
    for (const json* one : series) {
        const std::string modality = tag(*one, "MainDicomTags", "Modality");
        if (!modality.empty() &&
            std::find(modalities.begin(), modalities.end(), modality) == modalities.end()) {
            modalities.push_back(modality);
        }
        if (bodyPart.empty()) {
            bodyPart = tag(*one, "MainDicomTags", "BodyPartExamined");
        }
        instances += one->value("Instances", json::array()).size();
    }
    const bool computed = std::find(modalities.begin(), modalities.end(), "CT") != modalities.end();
    json row = {
        {"id", "study-" + study.at("ID").get<std::string>().substr(0, 8)},
        {"orthancId", study.at("ID")},
        {"studyInstanceUID", uid},
        {"patient",
         {{"id", tag(study, "PatientMainDicomTags", "PatientID")},
          {"fullName", plainName(tag(study, "PatientMainDicomTags", "PatientName"))}}},
        {"modalitiesInStudy", modalities},
        {"studyDescription", tag(study, "MainDicomTags", "StudyDescription")},
        {computed ? "bodyPartExamined" : "bodyPart", bodyPart},
        {"studyDate", studyDate(tag(study, "MainDicomTags", "StudyDate"), computed)},
        {"source", "PACS"},
        {"seriesCount", series.size()},
        {"instanceCount", instances}};
    // With several series the service leaves the single modality to the list.
    if (series.size() == 1 && !modalities.empty()) {
        row["modality"] = modalities.front();
    }
    return row;
}

} // namespace

DemoArchive::DemoArchive(const OrthancProcess& orthanc) : orthanc_(orthanc) {}

bool DemoArchive::store(std::string_view dicomFile, const std::string& organizationId) {
    LoopbackReply reply(orthanc_.port(), "POST", "/instances", orthanc_.authorization(), {}, dicomFile);
    const json answer = json::parse(reply.readAll(), nullptr, false);
    if (reply.status() != 200 || !answer.is_object() || !answer.contains("ID")) {
        throw std::runtime_error(
            answer.is_object() ? answer.value("Message", std::string("The archive refused the file"))
                               : "The archive refused the file");
    }
    const std::string study = answer.value("ParentStudy", std::string());
    const std::lock_guard lock(mutex_);
    organizationOfStudy_[study] = organizationId;
    studyOfSeries_[answer.value("ParentSeries", std::string())] = study;
    studyOfInstance_[answer.value("ID", std::string())] = study;
    return answer.value("Status", std::string()) == "Success";
}

std::vector<json> DemoArchive::studyRows(const std::string& organizationId) const {
    const json studies = getJson("/studies?expand");
    const json allSeries = getJson("/series?expand");
    std::vector<json> rows;
    for (const json& study : studies) {
        const std::string id = study.at("ID").get<std::string>();
        if (!ownsStudy(organizationId, id)) {
            continue;
        }
        std::vector<const json*> series;
        for (const json& one : allSeries) {
            if (one.value("ParentStudy", std::string()) == id) {
                series.push_back(&one);
            }
        }
        rows.push_back(studyRow(study, series));
    }
    const auto digits = [](const json& row) {
        std::string date = row.at("studyDate").get<std::string>().substr(0, 10);
        date.erase(std::remove(date.begin(), date.end(), '-'), date.end());
        return date;
    };
    std::sort(rows.begin(), rows.end(), [&](const json& a, const json& b) {
        return std::make_pair(digits(a), a.at("orthancId").get<std::string>()) >
               std::make_pair(digits(b), b.at("orthancId").get<std::string>());
    });
    return rows;
}

bool DemoArchive::ownsStudy(const std::string& organizationId, const std::string& studyId) const {
    const std::lock_guard lock(mutex_);
    const auto owner = organizationOfStudy_.find(studyId);
    return owner != organizationOfStudy_.end() && owner->second == organizationId;
}

bool DemoArchive::owns(
    const std::map<std::string, std::string>& parents, const std::string& organizationId,
    const std::string& id) const {
    std::string study;
    {
        const std::lock_guard lock(mutex_);
        const auto parent = parents.find(id);
        if (parent == parents.end()) {
            return false;
        }
        study = parent->second;
    }
    return ownsStudy(organizationId, study);
}

bool DemoArchive::ownsSeries(const std::string& organizationId, const std::string& seriesId) const {
    return owns(studyOfSeries_, organizationId, seriesId);
}

bool DemoArchive::ownsInstance(const std::string& organizationId, const std::string& instanceId) const {
    return owns(studyOfInstance_, organizationId, instanceId);
}

std::string
DemoArchive::studyWithUid(const std::string& organizationId, const std::string& studyInstanceUid) const {
    for (const json& study : getJson("/studies?expand")) {
        const std::string id = study.at("ID").get<std::string>();
        if (tag(study, "MainDicomTags", "StudyInstanceUID") == studyInstanceUid &&
            ownsStudy(organizationId, id)) {
            return id;
        }
    }
    return {};
}

std::unique_ptr<LoopbackReply> DemoArchive::open(const std::string& target, const std::string& accept) const {
    return std::make_unique<LoopbackReply>(orthanc_.port(), "GET", target, orthanc_.authorization(), accept);
}

json DemoArchive::getJson(const std::string& target) const {
    const auto reply = open(target);
    json answer = json::parse(reply->readAll(), nullptr, false);
    if (reply->status() != 200 || answer.is_discarded()) {
        throw std::runtime_error("The archive does not answer.");
    }
    return answer;
}

} // namespace zorbel::demo
