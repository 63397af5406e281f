// SPDX-License-Identifier: MIT
#include "video/renderer_choice.h"

#include <gmock/gmock.h>

namespace tavelo {
namespace {

TEST(RendererChoice, IsReadFromTheThreeWordsOnly) {
    EXPECT_EQ(rendererChoiceFromText("auto"), RendererChoice::automatic);
    EXPECT_EQ(rendererChoiceFromText("gl"), RendererChoice::gl);
    EXPECT_EQ(rendererChoiceFromText("cpu"), RendererChoice::cpu);
    for (const char* text : {"", "GL", "auto ", "opengl", "automatic"})
        EXPECT_EQ(rendererChoiceFromText(text), std::nullopt) << text;
}

TEST(RendererChoice, RendererInUseHasItsWord) {
    EXPECT_EQ(rendererText(Renderer::gl), "gl");
    EXPECT_EQ(rendererText(Renderer::cpu), "cpu");
}

} // namespace
} // namespace tavelo
