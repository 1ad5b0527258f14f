// The past transitions of a zone of ICU's data, in the order in which the data list them.
//
// ICU finds the offset at an instant by searching that list from its end backwards for the first transition
// that is not later: where the list is out of order, later entries hide earlier ones. The rules that ICU gives
// of a zone are sorted by ICU, and do not show that. Asking ICU for the offset at each transition would, but
// takes up to 60 us, as long as all that a call does before its first element; reading the list takes 2.
#pragma once

#include <unicode/timezone.h>

#include <optional>
#include <vector>

// Milliseconds since 1970. Nothing for a zone that ICU's data do not have by its name, and where the data are
// not as expected or cannot be read.
std::optional<std::vector<double>> listedTransitions(const icu::TimeZone& zone);
