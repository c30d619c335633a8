// The Vietnamese texts the quick rename shows for local text recognition, in one
// place for the command line and the desktop app.
#pragma once

#include <string>

namespace kelo::LocalOcrTexts {

inline constexpr char kNoText[] = "Không thấy chữ nào trong ảnh.";

inline std::string detectedSubjob(const std::string& subjob) {
    return "✨ local OCR phát hiện '" + subjob + "'.";
}

}  // namespace kelo::LocalOcrTexts
