// SPDX-License-Identifier: MIT
#include "video/renderer_choice.h"

#include <gmock/gmock.h>

#include <fstream>

#include "support/temporary_folder.h"

namespace tavelo {
namespace {

namespace fs = std::filesystem;

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

TEST(GraphicsCard, IsThereWithARenderNodeOrAMakersOwnNode) {
    for (const char* node : {"dri/renderD128", "dri/renderD129", "nvidiactl", "dxg"}) {
        const testing::TemporaryFolder devices;
        fs::create_directory(devices.path() / "dri");
        std::ofstream(devices.path() / "dri/card0");
        EXPECT_FALSE(hasGraphicsCard(devices.path()));
        std::ofstream(devices.path() / node);
        EXPECT_TRUE(hasGraphicsCard(devices.path())) << node;
    }
}

TEST(GraphicsCard, IsNotThereWithoutAFolderOfDevices) {
    const testing::TemporaryFolder folder;
    EXPECT_FALSE(hasGraphicsCard(folder.path()));
    EXPECT_FALSE(hasGraphicsCard(folder.path() / "nothing"));
}

} // namespace
} // namespace tavelo
