// The zone that --zone local stands for: the one in which the C library tells the time, by the name that
// ICU knows it by. ICU's own idea of it is not asked: it takes a path, a rule and a typing error for UTC or
// for a zone without summer time.
//
//   TZ                               the zone is
//   not set                          that of the file /etc/localtime
//   empty                            Etc/UTC
//   Europe/Paris, :Europe/Paris      that of the file of this name below /usr/share/zoneinfo or TZDIR
//   a path, perhaps behind a colon   that of the file
//   a rule without summer time       the offset: +03:00 for <+03>-3
//   a rule with summer time          none that ICU knows
//   anything else                    none: the C library falls back on UTC
//
// A file's zone is the end of its path behind "zoneinfo/", or that of a link on the way to it; of a file
// elsewhere, the zone whose file has the same content.
#pragma once

#include <optional>
#include <string>

#include "messages/message.h"

namespace plx {

// An identifier or an offset, as --zone takes it. Nothing, and a complaint, where there is none.
std::optional<std::string> localZoneText(Complaint& complaint);

// The release of the time-zone data that ICU goes by, such as 2022e.
std::string timeZoneData();

}  // namespace plx
