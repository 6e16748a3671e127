// Icons as the toolkit's images.
#pragma once

#include "platform/dialog_template.h"

#include <QImage>

QImage ImageOf(const IconResource& icon);
