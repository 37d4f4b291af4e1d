#pragma once

#include "report/WordRecords.h"

#include <QStringList>

#include <vector>

namespace zorbel {

/// How the templates stand in the list that the reader chooses from: "Name — description", each text once.
QStringList wordTemplateEntries(const std::vector<WordTemplate>& templates);

} // namespace zorbel
