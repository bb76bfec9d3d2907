"""Films a screen as a phone's camera would: a video for a browser that is given a file in place of a camera."""

import subprocess

_WIDTH, _HEIGHT = 1280, 720
_FRAMES_A_SECOND = 10
# First the camera looks at a dark room, then at the middle of the screen, from a hand's breadth and a little askew.
_DARK_FRAMES, _SCREEN_FRAMES = 3, 30
_SCREEN_CORNERS = "0,0 -490,-340  1280,0 1760,-370  1280,800 1800,1060  0,800 -530,1090"


def film(picture, video):
    """Writes uncompressed grey video (YUV4MPEG2) of the picture of a screen."""
    luma = subprocess.run(["convert", picture, "-virtual-pixel", "black", "-define",
                           f"distort:viewport={_WIDTH}x{_HEIGHT}", "-distort", "Perspective", _SCREEN_CORNERS,
                           "-blur", "0x0.6", "-colorspace", "Gray", "-depth", "8", "gray:-"],
                          check=True, capture_output=True).stdout
    if len(luma) != _WIDTH * _HEIGHT:
        raise RuntimeError(f"a frame has {len(luma)} pixels")
    no_colour = bytes([128]) * (_WIDTH * _HEIGHT // 2)
    with open(video, "wb") as file:
        file.write(f"YUV4MPEG2 W{_WIDTH} H{_HEIGHT} F{_FRAMES_A_SECOND}:1 Ip A1:1 C420\n".encode())
        for frame in [bytes([16]) * len(luma)] * _DARK_FRAMES + [luma] * _SCREEN_FRAMES:
            file.write(b"FRAME\n" + frame + no_colour)
