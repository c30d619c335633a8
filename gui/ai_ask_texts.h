// The desktop app's Vietnamese texts for asking online AI about one file on Match,
// in one place. The engine's own sentences are shown as they stand, never here.
#pragma once

namespace kelo::gui::text {

inline constexpr char kAskAI[] = "Hỏi AI…";
inline constexpr char kAskAITitle[] = "Hỏi AI về tệp %1";
inline constexpr char kAskAIPreparing[] = "Đang chuẩn bị ảnh xem trước…";
inline constexpr char kAskAIExplain[] =
    "Đây đúng là những gì sẽ được gửi tới Gemini của Google: ảnh thu nhỏ bên trái và đoạn JSON bên phải. "
    "Tệp gốc không được gửi. Chưa có gì được gửi cho đến khi bạn bấm nút gửi.";
inline constexpr char kAskAIImage[] = "Ảnh gửi đi";
inline constexpr char kAskAIImageSize[] = "%1 × %2 px · JPEG %3 (%4 byte)";
inline constexpr char kAskAIContext[] = "Ngữ cảnh gửi kèm (JSON)";
inline constexpr char kAskAIUsage[] = "Hôm nay đã dùng %1 / %2 yêu cầu; gửi yêu cầu này sẽ dùng thêm 1.";
inline constexpr char kAskAISend[] = "Gửi cho Gemini";
inline constexpr char kAskAISending[] = "Đang chờ Gemini trả lời…";
inline constexpr char kAskAIOpenSettings[] = "Mở phần AI trong Cài đặt";
inline constexpr char kAskAIAttach[] = "Đính kèm ảnh PNG/JPG…";
inline constexpr char kAskAIAttachButton[] = "Dùng ảnh này";
inline constexpr char kAskAIAttachMessage[] =
    "Chọn ảnh PNG/JPG của thiết kế. Chỉ gửi ảnh thu nhỏ, không gửi tệp thiết kế gốc.";
inline constexpr char kAskAIAttachFilter[] = "Ảnh PNG/JPG (*.png *.jpg *.jpeg *.PNG *.JPG *.JPEG)";

inline constexpr char kAdviceTitle[] = "Gợi ý của AI";
inline constexpr char kAdviceProject[] = "Dự án:";
inline constexpr char kAdviceNoProject[] = "AI chưa nhận ra dự án nào; hãy tự chọn dự án.";
inline constexpr char kAdviceFilename[] = "Tên tệp đề xuất:";
inline constexpr char kAdviceCategory[] = "Loại:";
inline constexpr char kAdviceConfidence[] = "Độ tin cậy:";
inline constexpr char kAdviceConfidenceHint[] = " (chỉ là gợi ý, không phải xác suất)";
inline constexpr char kAdviceReason[] = "Lý do:";
inline constexpr char kConfidenceLow[] = "Thấp";
inline constexpr char kConfidenceMedium[] = "Trung bình";
inline constexpr char kConfidenceHigh[] = "Cao";
inline constexpr char kAdviceAccept[] = "Xếp vào dự án này";
inline constexpr char kAdviceRename[] = "Đổi tên";
inline constexpr char kAdviceDismiss[] = "Bỏ qua gợi ý";
inline constexpr char kAdviceRetry[] = "Cho phép thử lại một lần";
inline constexpr char kAdviceFailed[] = "Yêu cầu không thành công";
inline constexpr char kAdviceDone[] = "Đã xong. Có thể hoàn tác trong Lịch sử.";
inline constexpr char kAdviceDismissed[] = "Đã bỏ qua gợi ý. Tệp vẫn ở nguyên chỗ cũ.";
inline constexpr char kCommandAskAI[] = "Hỏi AI";

// Automatic mode's outcome on Match.
inline constexpr char kCommandAutomaticAI[] = "AI tự động";
inline constexpr char kAutomaticAdvice[] = "AI tự động gợi ý cho «%1»: %2, tên tệp «%3».";
inline constexpr char kAutomaticAdviceNoProject[] = "AI tự động chưa nhận ra dự án cho «%1»; tên tệp đề xuất «%2».";
inline constexpr char kAutomaticFailed[] = "AI tự động không có gợi ý cho «%1»: %2";
inline constexpr char kAutomaticOpen[] = "Xem gợi ý…";
inline constexpr char kAutomaticHide[] = "Ẩn";

}  // namespace kelo::gui::text
