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
// When it returns, the file and both names are safely on disk, and the file reads back as the same
// image. Otherwise it raises eQ32FileExcpt, also for an image that the format cannot hold,
// eFileAccessExcpt or std::bad_alloc, and no former file is lost. The same holds when other
// programs save images of the same name at the same time.
void SaveNewImage(const std::string& folder, const std::string& path, const CImage& image);
