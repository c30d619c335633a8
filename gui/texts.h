// Every Vietnamese text the desktop app shows, in one place. The engine's own
// messages (English sentences, state names such as "Ready") are shown as they come
// and never translated here.
#pragma once

namespace kelo::gui::text {

inline constexpr char kAppTitle[] = "Kelo";

// Sidebar pages.
inline constexpr char kOverviewPage[] = "Tổng quan";
inline constexpr char kMatchPage[] = "Ghép tệp";
inline constexpr char kProjectsPage[] = "Dự án";
inline constexpr char kHistoryPage[] = "Lịch sử";
inline constexpr char kSettingsPage[] = "Cài đặt";

// Shell and tray.
inline constexpr char kTrayOpen[] = "Mở Kelo";
inline constexpr char kTrayQuit[] = "Thoát";
inline constexpr char kWorking[] = "Đang làm: ";
inline constexpr char kEngineUnavailable[] = "Kelo chưa khởi động được nên không thể làm việc này.";
inline constexpr char kRescan[] = "Quét lại";
inline constexpr char kStatusHistory[] = "Nhật ký";
inline constexpr char kStatusHistoryCount[] = "Nhật ký (%1)";
// After the first line of a longer answer in the message bar.
inline constexpr char kMoreMessages[] = "  (+%1 dòng trong Nhật ký)";
inline constexpr char kCloseMessage[] = "Ẩn thông báo";
inline constexpr char kCancelWork[] = "Dừng";
inline constexpr char kOk[] = "Đồng ý";
inline constexpr char kCancel[] = "Huỷ";

// Command names shown beside the busy indicator.
inline constexpr char kCommandStart[] = "Khởi động";
inline constexpr char kCommandScan[] = "Quét thư mục";
inline constexpr char kCommandSettings[] = "Lưu cài đặt";
inline constexpr char kCommandAddGrant[] = "Thêm thư mục";
inline constexpr char kCommandRemoveGrant[] = "Bỏ thư mục";
inline constexpr char kCommandReconnectGrant[] = "Kết nối lại thư mục";
inline constexpr char kCommandClean[] = "Dọn dẹp";
inline constexpr char kCommandFile[] = "Xử lý tệp";
inline constexpr char kCommandProject[] = "Sửa dự án";
inline constexpr char kCommandUndo[] = "Hoàn tác";
inline constexpr char kCommandSample[] = "Tạo thư mục mẫu";
inline constexpr char kCommandLearning[] = "Cập nhật điều đã học";
inline constexpr char kSamplesCreated[] = "Đã tạo thư mục mẫu tại ";

// Overview.
inline constexpr char kInboxCounts[] = "Tệp trong hộp thư đến";
inline constexpr char kIssues[] = "Vấn đề cần xem";
inline constexpr char kNoIssues[] = "Không có vấn đề nào.";
inline constexpr char kLastMessages[] = "Kết quả lệnh gần nhất";
inline constexpr char kNoMessages[] = "Chưa có thông báo.";
inline constexpr char kCleanTitle[] = "Dọn dẹp một lần";
inline constexpr char kCleanButton[] = "Dọn dẹp các tệp Ready";
inline constexpr char kCleanNothing[] = "Không có tệp nào ở trạng thái Ready.";
inline constexpr char kCleanConfirm[] = "Chuyển các tệp sau vào dự án?";
inline constexpr char kDryRunOn[] = "Chế độ chạy thử đang bật: Kelo chỉ cho xem trước, không di chuyển tệp.";

// Match.
inline constexpr char kColumnFile[] = "Tệp";
inline constexpr char kColumnState[] = "Trạng thái";
inline constexpr char kColumnProject[] = "Dự án gợi ý";
inline constexpr char kColumnCategory[] = "Vào thư mục";
inline constexpr char kColumnScore[] = "Điểm";
inline constexpr char kColumnSignals[] = "Lý do";
inline constexpr char kColumnSize[] = "Dung lượng";
inline constexpr char kColumnModified[] = "Sửa lúc";
inline constexpr char kFilterFiles[] = "Lọc theo tên tệp…";
inline constexpr char kAllStates[] = "Mọi trạng thái";
inline constexpr char kFilesShown[] = "%1 / %2 tệp";
inline constexpr char kSortInto[] = "Xếp vào";
inline constexpr char kConfirm[] = "Đúng rồi";
inline constexpr char kReject[] = "Không phải";
inline constexpr char kLeaveAlone[] = "Để yên";
inline constexpr char kRename[] = "Đổi tên…";
inline constexpr char kGroup[] = "Gom vào thư mục…";
inline constexpr char kTrash[] = "Bỏ vào Thùng rác";
inline constexpr char kKeepBoth[] = "Giữ cả hai";
inline constexpr char kCategoryAuto[] = "Thư mục Kelo chọn";
inline constexpr char kSubfolderHint[] = "Thư mục con (không bắt buộc)";
inline constexpr char kRenameTitle[] = "Đổi tên theo mẫu Job-Mục đích-Chi tiết";
inline constexpr char kRenameJob[] = "Job";
inline constexpr char kRenamePurpose[] = "Mục đích";
inline constexpr char kRenameDetail[] = "Chi tiết";
inline constexpr char kRenamePreview[] = "Tên mới: ";
inline constexpr char kReadImageText[] = "Đọc chữ trong ảnh";
inline constexpr char kGroupName[] = "Tên thư mục mới";
inline constexpr char kGroupProject[] = "Trong dự án";
inline constexpr char kGroupBeside[] = "Không chọn (cạnh các tệp)";
inline constexpr char kNoFiles[] = "Hộp thư đến không có tệp nào.";
inline constexpr char kIgnoredMark[] = " · để yên";
inline constexpr char kClusters[] = "Nhóm tệp liên quan";
inline constexpr char kClusterLine[] = "%1 — %2 tệp: %3";
inline constexpr char kNoClusters[] = "Không có nhóm tệp nào.";
inline constexpr char kIgnoreCluster[] = "Bỏ qua nhóm này";
inline constexpr char kRestoreIgnored[] = "Hiện lại mọi thứ đã bỏ qua";

// Projects.
inline constexpr char kColumnName[] = "Tên";
inline constexpr char kColumnStatus[] = "Tình trạng";
inline constexpr char kColumnFolder[] = "Thư mục";
inline constexpr char kColumnAliases[] = "Tên gọi khác";
inline constexpr char kArchive[] = "Lưu trữ";
inline constexpr char kProjectActive[] = "Đang làm";
inline constexpr char kProjectDormant[] = "Tạm nghỉ";
inline constexpr char kProjectArchived[] = "Đã lưu trữ";
inline constexpr char kReopen[] = "Mở lại";
inline constexpr char kAddAlias[] = "Thêm tên gọi khác…";
inline constexpr char kRemoveAlias[] = "Bỏ tên gọi khác…";
inline constexpr char kRemoveAliasPrompt[] = "Bỏ tên gọi nào?";
inline constexpr char kNewProject[] = "Dự án mới…";
inline constexpr char kTrashProject[] = "Bỏ dự án vào Thùng rác";
inline constexpr char kAliasPrompt[] = "Tên gọi khác:";
inline constexpr char kProjectNamePrompt[] = "Tên dự án:";
inline constexpr char kTrashProjectConfirm[] =
    "Bỏ thư mục của dự án %1 vào Thùng rác? Bạn lấy lại được từ Thùng rác của máy.";
inline constexpr char kNameSuggestionsTitle[] = "Gợi ý dự án mới";
inline constexpr char kSuggestionLine[] = "%1 (%2 tệp)";
inline constexpr char kNoNameSuggestions[] = "Chưa có gợi ý nào.";
inline constexpr char kAcceptSuggestion[] = "Tạo dự án này";
inline constexpr char kDeferSuggestion[] = "Để sau";
inline constexpr char kNoProjects[] = "Chưa có dự án nào. Chọn một thư mục dự án trong Cài đặt.";

// History.
inline constexpr char kColumnDate[] = "Thời gian";
inline constexpr char kColumnFiles[] = "Tệp";
inline constexpr char kColumnMoved[] = "Đã chuyển";
inline constexpr char kColumnRenamed[] = "Đã đổi tên";
inline constexpr char kColumnSkipped[] = "Bỏ qua";
inline constexpr char kColumnFailed[] = "Lỗi";
inline constexpr char kColumnUndone[] = "Đã hoàn tác";
inline constexpr char kUndo[] = "Hoàn tác";
inline constexpr char kMoreHistoryPrefix[] = "Thêm 50 lượt (";
// An undo batch's row: "<date> · hoàn tác: trả lại N tệp", the batch it undid in the tooltip.
inline constexpr char kUndoBatchSuffix[] = " · hoàn tác: trả lại ";
inline constexpr char kUndoBatchFiles[] = " tệp";
inline constexpr char kUndoBatchTooltip[] = "Hoàn tác lượt lúc ";
// After the first few names of a batch: " và N tệp khác".
inline constexpr char kHistoryMoreFiles[] = " và %1 tệp khác";
inline constexpr char kNoHistory[] = "Chưa có lượt nào.";
inline constexpr char kLastRun[] = "Lượt vừa chạy:";
inline constexpr char kUndoTrash[] = "Lấy lại tệp vừa bỏ vào Thùng rác";

// Settings.
inline constexpr char kFolders[] = "Thư mục";
inline constexpr char kColumnRole[] = "Vai trò";
inline constexpr char kRoleWatch[] = "Hộp thư đến";
inline constexpr char kRoleHome[] = "Thư mục dự án";
inline constexpr char kWatchDialogTitle[] = "Theo dõi thư mục";
inline constexpr char kHomeDialogTitle[] = "Chọn thư mục dự án";
inline constexpr char kAddWatch[] = "Theo dõi thư mục…";
inline constexpr char kAddHome[] = "Chọn thư mục dự án…";
inline constexpr char kRemoveFolder[] = "Bỏ thư mục";
inline constexpr char kReconnectFolder[] = "Kết nối lại…";
inline constexpr char kChooserExplanation[] = "Kelo chỉ truy cập thư mục bạn chọn. Hãy dùng thư mục mẫu để thử trước.";
inline constexpr char kThresholds[] = "Ngưỡng tin cậy";
inline constexpr char kReadyAt[] = "Ready từ";
inline constexpr char kProbablyAt[] = "Probably từ";
inline constexpr char kDryRun[] = "Chạy thử (chỉ xem trước, không di chuyển tệp)";
inline constexpr char kDisplayName[] = "Tên hiển thị";
inline constexpr char kPreset[] = "Mục đích sử dụng";
inline constexpr char kNoPreset[] = "Chưa chọn";
inline constexpr char kNamingDetail[] = "Chi tiết trong tên tệp";
inline constexpr char kLearning[] = "Điều Kelo đã học";
inline constexpr char kResetLearning[] = "Quên mọi điều đã học…";
inline constexpr char kResetConfirm[] =
    "Kelo sẽ quên mọi liên kết và quyết định đã học. Tệp không bị đụng tới. Tiếp tục?";
inline constexpr char kSave[] = "Lưu cài đặt";
inline constexpr char kHideWhenClosed[] = "Ẩn khỏi thanh tác vụ khi đóng cửa sổ";
inline constexpr char kLaunchAtLogin[] = "Mở Kelo khi đăng nhập";
inline constexpr char kPreferences[] = "Tùy chọn";
inline constexpr char kApp[] = "Ứng dụng";

// Onboarding.
inline constexpr char kWelcomeTitle[] = "Chào mừng đến với Kelo";
inline constexpr char kWelcomeText[] = "Kelo giữ cho tệp làm việc của bạn ngăn nắp. Bạn cho phép hai loại thư mục:";
inline constexpr char kWatchRoleText[] =
    "Hộp thư đến (ví dụ Downloads, Desktop): Kelo xem các tệp nằm rời ở đây và gợi ý dự án cho từng tệp.";
inline constexpr char kHomeRoleText[] =
    "Thư mục dự án: mỗi thư mục con bên trong là một dự án của khách hàng; tệp được xếp vào đó.";
inline constexpr char kSafetyText[] =
    "Kelo không bao giờ ghi đè, sao chép hay xoá tệp; mọi thay đổi đều hoàn tác được trong Lịch sử.";
inline constexpr char kTrySamples[] = "Hãy dùng thư mục mẫu để thử trước";
inline constexpr char kSamplesMade[] = "Đã tạo thư mục mẫu. Xem gợi ý cho từng tệp ở trang Ghép tệp.";
inline constexpr char kChoosePreset[] = "Bạn chủ yếu sắp xếp loại tệp nào?";
inline constexpr char kExample[] = "Ví dụ: ";
inline constexpr char kStart[] = "Bắt đầu";

// Duplicates, handoff and ZIP cleanup.
inline constexpr char kFindDuplicates[] = "Tìm bản trùng…";
inline constexpr char kDuplicatesTitle[] = "Bản trùng trong %1";
inline constexpr char kDuplicatesSearching[] = "Đang so sánh nội dung tệp…";
inline constexpr char kDuplicatesExplain[] =
    "Chỉ các tệp giống nhau từng byte mới được xếp chung nhóm. Chọn bản giữ, rồi bỏ các bản còn lại vào Thùng rác; "
    "bạn vẫn lấy lại được từ Thùng rác.";
inline constexpr char kKeepThisOne[] = "Giữ bản này";
inline constexpr char kTrashOthers[] = "Bỏ các bản còn lại vào Thùng rác";
inline constexpr char kTrashedCopy[] = "Đã vào Thùng rác";
inline constexpr char kCommandDuplicates[] = "Bỏ bản trùng";
inline constexpr char kStop[] = "Dừng";
inline constexpr char kClose[] = "Đóng";
inline constexpr char kHandoff[] = "Bàn giao ZIP…";
inline constexpr char kHandoffTitle[] = "Bàn giao %1";
inline constexpr char kHandoffExplain[] =
    "Kelo đóng gói cả thư mục dự án thành \"%1-handoff.zip\" trong thư mục bạn chọn. Thư mục dự án giữ nguyên, "
    "không tệp nào bị ghi đè.";
inline constexpr char kHandoffChooseFolder[] = "Chọn thư mục xuất…";
inline constexpr char kHandoffNoFolder[] = "Chưa chọn thư mục xuất.";
inline constexpr char kHandoffStart[] = "Đóng gói";
inline constexpr char kHandoffPacking[] = "Đang đóng gói %1 tệp…";
inline constexpr char kZipCleanupTitle[] = "Dọn ZIP";
inline constexpr char kZipCleanupFolder[] = "Thư mục:";
inline constexpr char kZipCleanupEnable[] = "Bật";
inline constexpr char kZipCleanupNoWatched[] = "Cần một thư mục hộp thư đến (ví dụ Downloads) để bật.";
inline constexpr char kZipCleanupLatest[] = "Gần đây đã dọn:";
inline constexpr char kCommandZipCleanup[] = "Dọn ZIP";

// Drag and drop.
inline constexpr char kDropOnProject[] = "Kéo tệp vào dự án:";
inline constexpr char kDroppedOutsideInbox[] =
    "Kelo chỉ nhận tệp nằm trong hộp thư đến đã cho phép; %1 được để nguyên.";

}  // namespace kelo::gui::text
