#include "platform/ui/Image.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

namespace {

namespace fs = std::filesystem;
using platform::ui::FolderImageCatalog;
using platform::ui::ImageCatalog;

class FolderImageCatalogTest : public testing::Test {
protected:
    FolderImageCatalogTest() { std::ofstream(folder / "corvoball.svg") << "<svg/>"; }
    ~FolderImageCatalogTest() override { ImageCatalog::setStandard(nullptr); }

    const test::TemporaryFolder temporary;
    const fs::path folder = temporary.path();
};

TEST_F(FolderImageCatalogTest, FindsAnImageByItsName) {
    const auto image = FolderImageCatalog(folder.string()).imageNamed("corvoball");
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->name, "corvoball");
    EXPECT_EQ(image->file, (folder / "corvoball.svg").string());
}

TEST_F(FolderImageCatalogTest, ANameThatTheFolderLacksGivesNone) {
    const FolderImageCatalog catalog(folder.string());
    EXPECT_EQ(catalog.imageNamed("icn_check"), nullptr);
    EXPECT_EQ(catalog.imageNamed("corvoball.svg"), nullptr);
    EXPECT_EQ(catalog.imageNamed(""), nullptr);
    EXPECT_EQ(FolderImageCatalog((folder / "nowhere").string()).imageNamed("corvoball"), nullptr);
}

TEST_F(FolderImageCatalogTest, UntilACatalogueIsInstalledThereAreNoImages) {
    EXPECT_EQ(ImageCatalog::standard().imageNamed("corvoball"), nullptr);
    const FolderImageCatalog catalog(folder.string());
    ImageCatalog::setStandard(&catalog);
    EXPECT_NE(ImageCatalog::standard().imageNamed("corvoball"), nullptr);
}

}  // namespace
