// SPDX-License-Identifier: MIT
// The corrected frame's colour at the quad's texture coordinate.

precision highp float;

layout(binding = 0) uniform highp sampler2D correctTexture;

in vec2 frameCoordinate;
layout(location = 0) out vec4 colour;

void main() {
    colour = texture(correctTexture, frameCoordinate);
}
