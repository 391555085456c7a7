// The cuts of an input: typed, shown, summed up.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "com.h"
#include "media_source.h"

namespace host {

/// The list of cuts of an input's node; null when it has none.
Ref<ITimelines> CutsOf(IProperty* input);
/// Makes the input's cuts count.
void UseCuts(IProperty* input);
std::vector<Ref<IProperty>> AllCuts(ITimelines* cuts);

/// Adds "START-END": frames, or times such as 0:00:01.500-0:00:03.000; each point is shown as it was typed.
/// Throws Problem, with the server's own message, for a point that is refused; the list stays then.
void AddCut(ITimelines* cuts, const std::wstring& text);

/// The cuts as a table, and what will be encoded of the source, where that is known.
std::vector<std::string> CutsText(ITimelines* cuts);

/// How long what is encoded will be, in units of 100 ns; no value where the source isn't known. The cuts'
/// input must be the current one. Throws Problem when the server can't tell.
std::optional<LONGLONG> EncodedDuration(ITimelines* cuts);

/// Why nothing can be encoded of some cuts, a line each. info: the source; null: not known.
std::vector<std::string> CutProblems(ITimelines* cuts, const MediaInfo* info);

/// 100 ns units as "1.500 s".
std::string ExactSeconds(LONGLONG units);

}  // namespace host
