// The companion's user-interface texts, in Vietnamese, in one place.
#pragma once

namespace kelo::gui::text {

inline constexpr const char* kCompanionPage = "Bạn đồng hành";
inline constexpr const char* kCompanionShow = "Hiện bạn đồng hành";
inline constexpr const char* kCompanionHide = "Ẩn bạn đồng hành";
inline constexpr const char* kCompanionTrayToggle = "Hiện/ẩn bạn đồng hành";
inline constexpr const char* kCompanionShowAtStart = "Hiện bạn đồng hành khi Kelo khởi động";
inline constexpr const char* kCompanionReduceMotion = "Giảm chuyển động (tư thế đứng yên)";
inline constexpr const char* kCompanionName = "Tên linh vật:";
inline constexpr const char* kCompanionDefaultName = "Kelo";
inline constexpr const char* kCompanionBehaviour = "Bạn đồng hành";
inline constexpr const char* kCompanionMoods = "Các tâm trạng";
inline constexpr const char* kCompanionIntro =
    "Một linh vật nhỏ ở mép màn hình cho biết hộp thư đang thế nào, gợi ý tệp nên sắp xếp tiếp theo "
    "và nhận tệp bạn kéo thả vào.";
inline constexpr const char* kMoodIdle = "Rảnh rỗi";
inline constexpr const char* kMoodHappy = "Vui vẻ";
inline constexpr const char* kMoodBusy = "Đang bận";
inline constexpr const char* kMoodConcerned = "Lo lắng";
inline constexpr const char* kMoodAsleep = "Đang ngủ";

inline constexpr const char* kCompanionSort = "Sắp xếp";
inline constexpr const char* kCompanionSkip = "Bỏ qua";
inline constexpr const char* kCompanionUndo = "Hoàn tác lô vừa rồi";
inline constexpr const char* kCompanionOpen = "Mở Kelo";
inline constexpr const char* kCompanionClose = "Ẩn";
inline constexpr const char* kCompanionNothing = "Không có tệp nào chờ sắp xếp.";
inline constexpr const char* kCompanionDropHint = "Thả một tệp vào đây để Kelo xem giúp.";
inline constexpr const char* kCompanionStarting = "Kelo đang khởi động…";
inline constexpr const char* kCompanionStopped = "Kelo không thể thao tác với tệp lúc này.";
inline constexpr const char* kCommandCompanionSort = "Sắp xếp tệp";
inline constexpr const char* kCommandCompanionUndo = "Hoàn tác";
inline constexpr const char* kCommandCompanionScan = "Quét hộp thư";

// Refusals of a dropped file: one sentence each, saying what was left alone.
inline constexpr const char* kDropNotInInbox =
    "Kelo để nguyên tệp này vì nó không nằm trong thư mục theo dõi nào đã được duyệt.";
inline constexpr const char* kDropNotListed = "Kelo không thấy tệp này trong lần quét mới nhất nên để nguyên nó.";
inline constexpr const char* kDropNoProject = "Kelo chưa biết tệp này thuộc dự án nào nên để nguyên nó.";
inline constexpr const char* kDropOneFile = "Kelo chỉ nhận một tệp mỗi lần nên để nguyên các tệp vừa thả.";
inline constexpr const char* kDropNotAFile = "Kelo chỉ nhận tệp trên máy này nên để nguyên thứ vừa thả.";

// Notifications.
inline constexpr const char* kNotifyReadySuffix = " tệp sẵn sàng sắp xếp";  // after the number
inline constexpr const char* kNotifySwitch = "Thông báo khi có tệp mới sẵn sàng sắp xếp lúc cửa sổ đang ẩn";

}  // namespace kelo::gui::text
