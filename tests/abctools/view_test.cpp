#include "abctools/commands.h"
#include "abctools/viewpage.h"
#include "tests/abctools/testmodel.h"
#include "viewer/viewertemplate.h"

#include <gtest/gtest.h>

#include <sstream>

using nlohmann::json;

TEST(View, NamesStayDataAndFilesOfOthersStay)
{
    const TemporaryFolder folder;
    const ModelPointer model = MakeTestModel();
    model->GetNode(1)->SetName("</script><b>&");
    WriteBytes(folder / "<m>.abc", BytesOf(*model));
    ViewOptions options;
    options.m_Paths = {folder / "<m>.abc"};
    std::ostringstream out, err;
    if (ViewerTemplate().empty())
    {
        EXPECT_EQ(RunView(options, out, err), 1);
        EXPECT_NE(err.str().find("Node.js"), std::string::npos);
        GTEST_SKIP() << "built without the page";
    }
    ASSERT_EQ(RunView(options, out, err), 0) << err.str();
    const std::vector<uint8_t> bytes = ReadBytes(folder / "<m>.html");
    const std::string page(bytes.begin(), bytes.end());
    EXPECT_NE(page.find("<title>&lt;m>.abc</title>"), std::string::npos);
    const std::string mark = "id=\"data\">";
    const size_t begin = page.find(mark) + mark.size();
    const json data = json::parse(page.substr(begin, page.find("</script>", begin) - begin));
    EXPECT_EQ(data["files"][0]["info"]["nodes"][1]["name"], "</script><b>&");

    // Its own page is made anew; what came from elsewhere isn't touched.
    EXPECT_EQ(RunView(options, out, err), 0) << err.str();
    WriteBytes(folder / "<m>.html", {'<', 'p', '>'});
    EXPECT_EQ(RunView(options, out, err), 1);
    EXPECT_EQ(ReadBytes(folder / "<m>.html").size(), 3u);
    // A page isn't written without all that was asked for.
    options.m_OutPath = folder / "new.html";
    options.m_Textures = {{0, folder / "<m>.html"}};
    err.str("");
    EXPECT_EQ(RunView(options, out, err), 1);
    EXPECT_NE(err.str().find("not an image"), std::string::npos);
    EXPECT_TRUE(ReadBytes(folder / "new.html").empty());
}

TEST(View, ImagesAreKnownByTheirFirstBytes)
{
    const auto address = [](const std::string& text)
    { return ImageAddress(std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size())); };
    EXPECT_EQ(address("\x89PNG\r\n\x1A\n"), "data:image/png;base64,iVBORw0KGgo=");
    EXPECT_EQ(address("\xFF\xD8\xFF\xE0"), "data:image/jpeg;base64,/9j/4A==");
    EXPECT_EQ(address("RIFF1234WEBP").substr(0, 15), "data:image/webp");
    EXPECT_EQ(address("RIFF1234WAVE"), "");
    EXPECT_EQ(address(""), "");
}
