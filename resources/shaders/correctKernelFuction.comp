// SPDX-License-Identifier: MIT
// Writes the camera's frame, mirrored if requested, twice: into the memory that recorder and snapshot read, and into
// the texture that the display pass samples.  One thread per pixel.  A pixel in memory is one word: blue, green, red,
// alpha from the lowest byte up.

precision highp float;
precision highp int;

layout(local_size_x = 16, local_size_y = 16) in;

layout(std430, binding = 0) readonly buffer Frame {
    uint frame[];
};
layout(std430, binding = 1) writeonly buffer Corrected {
    uint corrected[];
};
layout(rgba8, binding = 0) writeonly uniform highp image2D correctTexture;

// Twelve bytes: a flag, three bytes of padding, a factor, two flags, two bytes of padding.
layout(std140, binding = 2) uniform Parameters {
    uint unusedFlag;
    float unusedFactor;
    uint flips; // lowest byte: left-right, the next: top-bottom
};

layout(location = 0) uniform uvec2 frameSize;  // in pixels
layout(location = 1) uniform uvec2 rowPitches; // in words: of the frame, of the corrected frame

void main() {
    uvec2 from = gl_GlobalInvocationID.xy;
    if (any(greaterThanEqual(from, frameSize))) {
        return; // the grid is rounded up to whole groups
    }
    uvec2 to = from;
    if ((flips & 0xFFu) != 0u) {
        to.x = frameSize.x - 1u - from.x;
    }
    if ((flips & 0xFF00u) != 0u) {
        to.y = frameSize.y - 1u - from.y;
    }
    uint pixel = frame[from.y * rowPitches.x + from.x];
    corrected[to.y * rowPitches.y + to.x] = pixel;
    imageStore(correctTexture, ivec2(to), unpackUnorm4x8(pixel).zyxw);
}
