// Saving images: under a given path, and safely among the files that are there already.
#pragma once

#include "image/image.h"

#include <string>

// WriteQ32File of the image; false for an empty handle.
bool SaveImage(const std::string& path, CLinkedPtr<CImage> image);

// Saves the image as a new file below the folder, which is kept open meanwhile: nothing is written
// outside it and no link is followed in it. path: the folder with its final separator and the
// file's name. A file that already has the name is moved aside first, to "NAME (2).Q32", "(3)", ..,
// the first free number, and never replaced.
//
// When it returns, the file is safely on disk and reads back as the same image. Otherwise it
// raises eQ32FileExcpt, also for an image that the format cannot hold, or eFileAccessExcpt.
void SaveNewImage(const std::string& folder, const std::string& path, const CImage& image);
