"""The differences between two images of a screen."""

import os


class Picture:
    """Rows of pixels, three bytes each."""

    def __init__(self, width, pixels):
        self._row = width * 3
        self._pixels = pixels

    def _rows(self):
        return [self._pixels[start:start + self._row] for start in range(0, len(self._pixels), self._row)]

    def without_rows(self, top, bottom):
        """The same image, black between these rows."""
        return Picture(self._row // 3, self._pixels[:top * self._row] + bytes((bottom - top) * self._row)
                       + self._pixels[bottom * self._row:])

    def changed_since(self, before):
        """(left, top, right, bottom) of the smallest rectangle that holds every changed pixel; None without any."""
        top, bottom, left, right = None, None, self._row, 0
        for y, (old, new) in enumerate(zip(before._rows(), self._rows())):
            if old != new:
                top, bottom = y if top is None else top, y + 1
                left = min(left, len(os.path.commonprefix([old, new])))
                right = max(right, self._row - len(os.path.commonprefix([old[::-1], new[::-1]])))
        return None if top is None else (left // 3, top, (right + 2) // 3, bottom)

    def share_of(self, color, left, top, right, bottom):
        """The share of pixels in a rectangle that have this colour."""
        rows = [row[3 * int(left):3 * int(right)] for row in self._rows()[int(top):int(bottom)]]
        pixels = [row[i:i + 3] for row in rows for i in range(0, len(row), 3)]
        return pixels.count(bytes(color)) / len(pixels)
