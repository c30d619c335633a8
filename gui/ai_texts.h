// The desktop app's Vietnamese texts for online AI, in one place.
#pragma once

namespace kelo::gui::text {

inline constexpr char kAITitle[] = "AI trực tuyến (Gemini, dùng khóa của bạn)";
inline constexpr char kAIIntro[] =
    "Với tệp Kelo chưa xếp được, bạn có thể hỏi Gemini của Google. Kelo chỉ gửi một ảnh thu nhỏ và tên tệp cùng "
    "danh sách dự án, không gửi tệp thiết kế gốc. Mỗi phiên bản tệp chỉ được gửi một lần, không bao giờ tự thử lại.";
inline constexpr char kAIEnabled[] = "Bật gợi ý AI trực tuyến";
inline constexpr char kAIFreeTier[] = "Tôi xác nhận dự án Gemini của khóa này đang dùng gói miễn phí (Free Tier)";
inline constexpr char kAIDataUse[] = "Tôi hiểu rằng ảnh xem trước và tên tệp sẽ được gửi tới Google";
inline constexpr char kAIAutomatic[] = "Tự động hỏi AI cho tệp mới đủ điều kiện (cách nhau ít nhất 20 giây)";
inline constexpr char kAIDailyCap[] = "Giới hạn mỗi ngày:";
inline constexpr char kAIRequestsSuffix[] = " yêu cầu";
inline constexpr char kAIUsedToday[] = "Hôm nay đã dùng %1 / %2 yêu cầu.";
inline constexpr char kAIPausedUntil[] = "Tạm dừng đến %1.";
inline constexpr char kAIFolders[] = "Thư mục được phép gửi:";
inline constexpr char kAISave[] = "Lưu cài đặt AI";
inline constexpr char kAIKeyLabel[] = "Khóa API Gemini:";
inline constexpr char kAIKeyPlaceholder[] = "Dán khóa API của bạn";
inline constexpr char kAIKeySave[] = "Lưu khóa";
inline constexpr char kAIKeySession[] = "Chỉ dùng phiên này";
inline constexpr char kAIKeyForget[] = "Xóa khóa";
inline constexpr char kAIKeySaved[] = "Khóa: đã lưu trong keyring.";
inline constexpr char kAIKeySessionOnly[] = "Khóa: chỉ dùng cho phiên này, không lưu.";
inline constexpr char kAIKeyNone[] = "Khóa: chưa có.";
inline constexpr char kCommandAISettings[] = "Lưu cài đặt AI";
inline constexpr char kCommandAIKey[] = "Khóa AI";

}  // namespace kelo::gui::text
