// The Tesseract call behind local text recognition: the text lines of one image,
// read with the LSTM engine in Vietnamese, then English, with Tesseract's word
// lists correcting what it reads, as scattered text rather than a page layout,
// in up to three passes so small print beside a headline is not lost. Keeps a few initialised engines for reuse,
// because loading the two language models costs more than reading a page.
//
// Any thread may call it, at the same time as others.
#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "preview/thumbnailer.h"

namespace kelo::TesseractReader {

// Whether Tesseract and both language models are installed and load.
bool available();

// The best reading of each text line of `image`, in reading order, exactly as
// Tesseract returns it (not trimmed). Empty when nothing is read, the image is
// malformed, Tesseract cannot start, or `cancel` becomes true while it reads.
// Transparent pixels are read as white paper.
std::vector<std::string> readLines(const RasterImage& image, const std::atomic<bool>* cancel = nullptr);

}  // namespace kelo::TesseractReader
