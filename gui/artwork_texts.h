// The Vietnamese texts of the sticker studio and the project icons, in one place.
#pragma once

namespace kelo::gui::text {

inline constexpr char kStickerStudio[] = "Biểu tượng thư mục…";
inline constexpr char kStickerStudioTitle[] = "Xưởng nhãn dán: %1";
inline constexpr char kCommandArtwork[] = "Đổi biểu tượng thư mục";
inline constexpr char kArtworkColors[] = "Màu";
inline constexpr char kArtworkSymbols[] = "Biểu tượng";
inline constexpr char kArtworkNoSymbol[] = "Không có";
inline constexpr char kArtworkSkins[] = "Kiểu thư mục";
inline constexpr char kArtworkStickers[] = "Nhãn dán (kéo lên biểu tượng)";
inline constexpr char kArtworkText[] = "Chữ";
inline constexpr char kArtworkAddText[] = "Thêm chữ";
inline constexpr char kArtworkRemoveSticker[] = "Gỡ nhãn dán";
inline constexpr char kArtworkImage[] = "Chọn ảnh…";
inline constexpr char kArtworkNoImage[] = "Bỏ ảnh";
inline constexpr char kArtworkFull[] = "Ảnh phủ cả biểu tượng";
inline constexpr char kArtworkUndo[] = "Hoàn tác";
inline constexpr char kArtworkApply[] = "Áp dụng";
inline constexpr char kArtworkReset[] = "Đặt lại";
inline constexpr char kArtworkClose[] = "Đóng";
inline constexpr char kArtworkHint[] =
    "Kéo nhãn dán để di chuyển, lăn chuột để phóng to hay thu nhỏ, giữ Shift khi lăn hoặc kéo bằng chuột phải để "
    "xoay.";
inline constexpr char kArtworkImageFilter[] = "Ảnh (*.png *.jpg *.jpeg *.webp *.gif *.tif *.tiff *.bmp)";

}  // namespace kelo::gui::text
