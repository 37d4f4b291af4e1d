#pragma once

namespace zorbel {

class ViewerWorkspace;

/// The modes of the program join the workspace.
void addStandardModes(ViewerWorkspace& workspace);

} // namespace zorbel
