// The Studio page's Vietnamese texts, in one place.
#pragma once

namespace kelo::gui::text {

inline constexpr char kStudioPage[] = "Studio";
inline constexpr char kCommandStudio[] = "Mở Studio";
inline constexpr char kStudioProject[] = "Dự án:";
inline constexpr char kStudioReload[] = "Đọc lại";
inline constexpr char kStudioNoProject[] = "Chọn một dự án để xem tệp, số liệu và tài liệu tham khảo của nó.";
inline constexpr char kStudioAllKinds[] = "Mọi loại tệp";
inline constexpr char kStudioKindDesign[] = "Tệp thiết kế";
inline constexpr char kStudioKindImage[] = "Ảnh";
inline constexpr char kStudioKindDocument[] = "Tài liệu";
inline constexpr char kStudioKindArchive[] = "Tệp nén";
inline constexpr char kStudioKindOther[] = "Khác";
inline constexpr char kStudioAllFolders[] = "Mọi thư mục";
inline constexpr char kStudioOtherFolder[] = "Ngoài thư mục phân loại";
inline constexpr char kStudioAnyTime[] = "Mọi lúc";
inline constexpr char kStudioWithinDays[] = "Sửa trong %1 ngày";
inline constexpr char kStudioSearch[] = "Tìm trong tên tệp…";
inline constexpr char kStudioSavedFilters[] = "Bộ lọc đã lưu";
inline constexpr char kStudioSaveFilter[] = "Lưu bộ lọc…";
inline constexpr char kStudioSaveFilterPrompt[] = "Tên bộ lọc:";
inline constexpr char kStudioDeleteFilter[] = "Xoá bộ lọc";
inline constexpr char kStudioTotals[] = "%1 tệp trong %2 thư mục · %3";
inline constexpr char kStudioNewest[] = "Mới nhất: %1";
inline constexpr char kStudioLargest[] = "Lớn nhất: %1";
inline constexpr char kStudioOffNaming[] = "%1 tệp chưa đặt tên theo dự án";
inline constexpr char kStudioStale[] = "%1 tệp không đụng tới trong 90 ngày";
inline constexpr char kStudioChartTitle[] = "Dung lượng theo thư mục";
inline constexpr char kStudioShown[] = "Đang hiện %1 trên %2 tệp khớp bộ lọc";
inline constexpr char kStudioReferences[] = "Tài liệu tham khảo";
inline constexpr char kStudioMissing[] = " (không còn ở đây)";
inline constexpr char kStudioPin[] = "Ghim";
inline constexpr char kStudioUnpin[] = "Bỏ ghim";
inline constexpr char kStudioOpenFile[] = "Mở";
inline constexpr char kStudioShowInFolder[] = "Hiện trong thư mục";
inline constexpr char kStudioRename[] = "Đổi tên…";
inline constexpr char kStudioRenamePrompt[] = "Tên mới (giữ nguyên phần đuôi):";
inline constexpr char kStudioSortInto[] = "Xếp vào…";
inline constexpr char kStudioSortPrompt[] = "Chuyển tệp vào thư mục:";

}  // namespace kelo::gui::text
