// SPDX-License-Identifier: MIT
// All verbs of taveloctl.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli/verb.h"

namespace tavelo {

std::unique_ptr<Verb> makeListVerb();
std::unique_ptr<Verb> makeControlsVerb();
std::unique_ptr<Verb> makeGetVerb();
std::unique_ptr<Verb> makeSetVerb();
std::unique_ptr<Verb> makeResetVerb();
std::unique_ptr<Verb> makeSendVerb();
std::unique_ptr<Verb> makeProfilesVerb();
std::unique_ptr<Verb> makeApplyVerb();
std::unique_ptr<Verb> makeSaveVerb();
std::unique_ptr<Verb> makeCopyVerb();
std::unique_ptr<Verb> makeExportVerb();
std::unique_ptr<Verb> makeImportVerb();
std::unique_ptr<Verb> makeSnapshotVerb();
std::unique_ptr<Verb> makeRecordVerb();
std::unique_ptr<Verb> makeWatchVerb();
std::unique_ptr<Verb> makeMonitorVerb();
std::unique_ptr<Verb> makeProbeVerb();

/// In the order of the help.
std::vector<std::unique_ptr<Verb>> allVerbs();

/// The names of the chosen camera's controls, each with an ending; their values are the meanings.
std::vector<Candidate> controlCandidates(Session& session, const std::string& ending);

} // namespace tavelo
