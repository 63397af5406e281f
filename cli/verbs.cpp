// SPDX-License-Identifier: MIT
#include "cli/verbs.h"

namespace tavelo {

std::vector<std::unique_ptr<Verb>> allVerbs() {
    std::vector<std::unique_ptr<Verb>> verbs;
    for (const auto make :
         {makeListVerb, makeControlsVerb, makeGetVerb, makeSetVerb, makeResetVerb, makeSendVerb,
          makeProfilesVerb, makeApplyVerb, makeSaveVerb, makeCopyVerb, makeExportVerb, makeImportVerb,
          makeSnapshotVerb, makeRecordVerb, makeWatchVerb, makeMonitorVerb, makeProbeVerb})
        verbs.push_back(make());
    return verbs;
}

} // namespace tavelo
