// Sub-job detection: finds the piece of a job a file belongs to ("Post 15",
// "Slide 3") so cleaned files of one job can be grouped into a folder each.
// Pure; any thread may call it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "model/project.h"

namespace kelo::SubjobGrouping {

// The first keyword (post, slide, banner, feed, story, cover, card, poster, page,
// mockup, chap, bai) followed by a number of 1 to 4 digits that is not a year, joined ("post15") or as
// the next word ("Post_15", "bài 3"), ignoring words of the project's own name and
// aliases. Gives the keyword capitalised and the number without leading zeros,
// "Post 15"; nothing when the name holds no sub-job.
std::optional<std::string> detectSubjob(std::string_view filename, const Project& project);

}  // namespace kelo::SubjobGrouping
