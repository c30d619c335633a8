// The user's project commands: create a project (with its folder), add and remove
// aliases, archive and reopen, send a project's job folder to the Trash, and accept
// or defer a project-name suggestion. Each changes the projects, clears the
// classification cache, saves the state before it takes effect and returns a
// snapshot whose messages say what happened. Free functions over the Engine; engine
// thread only.
//
// Creating a project is not subject to dry run: the user asked for exactly one new,
// empty folder, which changes no existing file. Trashing a job folder is: under dry
// run it reports what would go and changes nothing.
#pragma once

#include <string>

#include "engine/engine.h"

namespace kelo::ProjectCommands {

// A new project NAME whose folder (with its category folders) is created directly
// inside the first approved project home. Refuses an invalid folder name, a name
// that another project already has (ignoring case and accents), a folder that
// already exists, and the absence of any project home.
SnapshotPtr newProject(Engine& engine, const std::string& name);

// Adds a further name by which files may refer to the project. Refuses an empty
// alias and one that already names this or another project.
SnapshotPtr addAlias(Engine& engine, const std::string& project, const std::string& alias);
// Removes one alias (compared exactly, then ignoring case and accents).
SnapshotPtr removeAlias(Engine& engine, const std::string& project, const std::string& alias);

// An archived project still receives suggestions, but never "Ready" ones.
SnapshotPtr archiveProject(Engine& engine, const std::string& project);
// Makes an archived project active again.
SnapshotPtr reopenProject(Engine& engine, const std::string& project);

// Moves the project's job folder to the Trash after the job-folder checks, then
// forgets the project (its record and the assignments to it; learned associations
// stay, as they are only ever cleared all at once). The folder can be put back from
// the desktop's Trash; Kelo then finds it again as a new project at the next scan.
SnapshotPtr trashProject(Engine& engine, const std::string& project);

// Creates the suggested project for TOKEN (as newProject does, with the suggested
// name) — `token` is compared after folding case and accents.
SnapshotPtr acceptNameSuggestion(Engine& engine, const std::string& token);
// Remembers TOKEN in "deferred-names.json" so it is not offered again.
SnapshotPtr deferNameSuggestion(Engine& engine, const std::string& token);

}  // namespace kelo::ProjectCommands
