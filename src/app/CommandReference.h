#pragma once
// The command reference of the help folder ("CommandsAndObjects/index.html"): the objects a new
// project names, each with its commands and its published properties (caption, value in the
// project's units, unit, whether a command may write it), the material's parameters of every
// soil model, and the commands of every object type with their parameter patterns. It is made
// from the program's own registries, so it cannot drift from what the interpreter accepts.

#include <string>

namespace tw {

class TQBProject;

// One HTML page. The project is read, not changed (the materials of the model list are made
// apart from it).
std::string CommandReferenceHtml(const TQBProject& project);

} // namespace tw
