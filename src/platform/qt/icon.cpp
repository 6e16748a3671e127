// Draws icons pixel by pixel.
#include "platform/qt/icon.h"

QImage ImageOf(const IconResource& icon)
{
    const int size = static_cast<int>(icon.rows.size());
    QImage image(size, size, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            for (const IconColor& color : icon.palette) {
                if (color.key == icon.rows[static_cast<std::size_t>(y)][x]) {
                    image.setPixel(x, y, 0xFF000000 | color.rgb);
                }
            }
        }
    }
    return image;
}
