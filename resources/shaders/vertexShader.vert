// SPDX-License-Identifier: MIT
// Places the quad in clip space and passes on its texture coordinates.

layout(location = 0) in vec4 position;
layout(location = 1) in vec2 textureCoordinate;

layout(std140, binding = 1) uniform ModelView {
    mat4 modelView;
};

out vec2 frameCoordinate;

void main() {
    gl_Position = modelView * position;
    frameCoordinate = textureCoordinate;
}
