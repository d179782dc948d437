// The command line, as tables.
#include "host/exportoptions.h"

#include "tests/win32/temporaryfolder.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <vector>

static CommandLine Parse(std::vector<const char*> arguments, ExportOptions& options)
{
    arguments.insert(arguments.begin(), "zoltexport");
    return ParseExportOptions(static_cast<int>(arguments.size()), arguments.data(), options);
}

TEST(ExportOptionsTest, EverythingGiven)
{
    ExportOptions options;
    ASSERT_TRUE(Parse({"s.gltf", "-o", "out.abc", "-a", "-run-", "--clip", "-1", "--fps", "30000/1001", "--start", "-3",
                       "--end", "9", "--append", "--overwrite", "--debug", "--log", "/l.log", "--quiet"},
                      options)
                    .run);
    EXPECT_EQ(options.scenePath, "s.gltf");
    EXPECT_EQ(options.outPath, std::filesystem::current_path() / "out.abc");
    EXPECT_EQ(options.animName, "-run-");
    EXPECT_EQ(options.clip, "-1");
    EXPECT_NEAR(options.fps, 29.97002997, 1e-8);
    EXPECT_EQ(options.start, -3);
    EXPECT_EQ(options.end, 9);
    EXPECT_TRUE(options.append && options.overwrite && options.quiet);
    EXPECT_EQ(options.debug, true);
    EXPECT_EQ(options.logPath, "/l.log");

    ASSERT_TRUE(Parse({"--no-debug", "--all-clips", "--fps=23.976", "--", "-s.gltf"}, options).run);
    EXPECT_EQ(options.scenePath, "-s.gltf");
    EXPECT_EQ(options.debug, false);
    EXPECT_EQ(options.outPath, "");
    EXPECT_FALSE(options.animName || options.clip || options.start || options.end || options.append);
    ASSERT_TRUE(Parse({"--", "--log="}, options).run) << "a scene that is called so";
    EXPECT_EQ(options.scenePath, "--log=");

    ASSERT_TRUE(Parse({"s.gltf"}, options).run);
    EXPECT_TRUE(options.autoFps && options.keys == KeyChoice::Shape);
    EXPECT_TRUE(options.rest == RestChoice::Auto && !options.restName);
    EXPECT_FALSE(options.flipV || options.up);
    EXPECT_EQ(options.scale, 1.0);
    ASSERT_TRUE(
        Parse({"s", "--fps", "auto", "--keys", "every", "--scale", "1/100", "--up", "z", "--flip-v"}, options).run);
    EXPECT_TRUE(options.autoFps && options.keys == KeyChoice::Every && options.flipV && options.up == 'z');
    EXPECT_EQ(options.scale, 0.01);
    ASSERT_TRUE(Parse({"--keep", "a*", "s", "--keep=[b]", "--keep-all", "--fit"}, options).run);
    EXPECT_EQ(options.keep, (std::vector<std::string>{"a*", "[b]", "*"}));
    EXPECT_TRUE(options.fit && options.scenePath == "s");
    ASSERT_TRUE(Parse({"s", "--fps", "24", "--keys=authored", "--up=y"}, options).run);
    EXPECT_FALSE(options.fit || !options.keep.empty());
    EXPECT_TRUE(!options.autoFps && options.fps == 24.0 && options.keys == KeyChoice::Authored && options.up == 'y');
    EXPECT_FALSE(options.debug.has_value());
    ASSERT_TRUE(Parse({"s.gltf", "--anim=--append", "--list", "--json"}, options).run);
    EXPECT_EQ(options.animName, "--append");
    EXPECT_TRUE(options.list && options.json);
}

// The name may be left out; then the word behind --rest may be the scene.
TEST(ExportOptionsTest, RestPoseWithAndWithoutAName)
{
    const struct
    {
        std::vector<const char*> line;
        const char* scene;
        const char* name;
        RestChoice rest = RestChoice::Bind;
    } rows[] = {{{"s", "--rest"}, "s", "rest"},
                {{"s", "--rest", "-q"}, "s", "rest"},
                {{"--rest", "s"}, "s", "rest"},
                {{"--rest", "s", "-o", "x.abc"}, "s", "rest"},
                {{"--rest", "s.gltf", "t.gltf"}, "s.gltf", "rest"},
                {{"s", "--rest", "pose"}, "s", "pose"},
                {{"--rest", "pose", "s"}, "s", "pose"},
                {{"--rest", "pose", "-o", "x.abc", "s"}, "s", "pose"},
                {{"--clip", "run", "--rest", "pose", "--", "s"}, "s", "pose"},
                {{"--rest=-b-", "s"}, "s", "-b-"},
                {{"--rest", "bind", "s"}, "s", nullptr},
                {{"--rest=first", "s"}, "s", nullptr, RestChoice::First},
                {{"s", "--rest", "auto"}, "s", nullptr, RestChoice::Auto},
                {{"s", "--rest-name", "pose", "--rest", "bind"}, "s", "pose"},
                {{"s", "--rest-name=pose"}, "s", "pose"}};
    for (const auto& row : rows)
    {
        ExportOptions options;
        EXPECT_TRUE(Parse(row.line, options).run) << row.line[0] << " " << row.line[1];
        EXPECT_EQ(options.scenePath, row.scene);
        EXPECT_TRUE(options.rest == row.rest) << row.line[1];
        EXPECT_EQ(options.restName, row.name ? std::optional<std::string>(row.name) : std::nullopt) << row.line[1];
    }
}

// A comment, quotes, a file in a file; several scenes; what repeats itself.
TEST(ExportOptionsTest, ScenesAndArgumentsInFiles)
{
    const TemporaryFolder folder;
    const std::string outer = "@" + (folder / "outer");
    const std::string inner = "@" + (folder / "inner");
    std::ofstream(folder / "outer") << "'a b.fbx' # 'not this\n \"c\\\"d\"\\ e\t" << inner << "\n--all-clips";
    std::ofstream(folder / "inner") << "-o x#y.abc";
    ExportOptions options;
    const CommandLine line = Parse({"base.glb", outer.c_str(), "--overwrite", "--watch", "--", "@f"}, options);
    ASSERT_TRUE(line.run) << line.problem;
    EXPECT_EQ(options.scenePath, "base.glb");
    EXPECT_EQ(options.moreScenes, (std::vector<std::string>{"a b.fbx", "c\"d e", "@f"}));
    EXPECT_EQ(options.outPath, std::filesystem::current_path() / "x#y.abc");
    EXPECT_TRUE(options.allClips && options.watch && !options.replace);
    std::ofstream(folder / "inner") << outer;
    EXPECT_NE(Parse({outer.c_str()}, options).problem.find(" is in itself."), std::string::npos);
    std::ofstream(folder / "inner") << "'";
    EXPECT_NE(Parse({outer.c_str()}, options).problem.find(" ends between quotes."), std::string::npos);
    std::filesystem::remove(folder / "inner");
    EXPECT_NE(Parse({outer.c_str()}, options).problem.find("/inner can't be opened: No such file"), std::string::npos);
}

// The limit may be left away without taking what follows for it.
TEST(ExportOptionsTest, StrictWithAndWithoutLimit)
{
    ExportOptions options;
    ASSERT_TRUE(Parse({"--strict", "s.gltf", "--report", "--report-json", "/r.json"}, options).run);
    EXPECT_EQ(options.strict, 1.0);
    EXPECT_EQ(options.scenePath, "s.gltf");
    EXPECT_EQ(options.reportPath, "/r.json");
    EXPECT_TRUE(options.report);
    ASSERT_TRUE(Parse({"--strict", "2.5", "s.gltf", "--jobs", "3"}, options).run);
    EXPECT_EQ(options.strict, 2.5);
    EXPECT_EQ(options.jobs, 3U);
    ASSERT_TRUE(Parse({"s.gltf", "--strict=0"}, options).run);
    EXPECT_EQ(options.strict, 0.0);
    ASSERT_TRUE(Parse({"s.gltf"}, options).run);
    EXPECT_FALSE(options.strict || options.report);
}

TEST(ExportOptionsTest, WrongUsage)
{
    const std::string path511 = "/" + std::string(510, 'p');
    const std::string path512 = "/" + std::string(511, 'p');
    const std::string name250(250, 'n');
    const std::string name251(251, 'n');
    ExportOptions options;
    EXPECT_TRUE(Parse({"s", "-o", path511.c_str()}, options).run);
    EXPECT_TRUE(Parse({"s", "-a", name250.c_str()}, options).run);
    const std::vector<std::vector<const char*>> lines = {
        {},
        {""},
        {"s", "-o", ""},
        {"s", "-o", path512.c_str()},
        {"s", "-a", name251.c_str()},
        {"s", "--anim", ""},
        {"s", "--log", ""},
        {"s", "--report-json", ""},
        {"s", "--rest", name251.c_str()},
    };
    std::istringstream plain(
        "a b --anim x|a b --clip 0|a b --list|s --replace|s --append --watch|s --list --watch|"
        "s --rest first --rest-name n|s --rest pose --rest-name n|s --rest-name=|s --bogus|s --strict -1|s "
        "--strict=much|s --jobs 0|s --jobs 1.5|s --jobs|s --list --strict|s -o|s -o --append|s -o a -o b|--rest|s "
        "--json|"
        "s --all-clips --anim x|s --all-clips --clip 0|s --debug --no-debug|s --start 1.5|s --end 99999999999|"
        "s --fps 0.99|s --fps 1000.5|s --fps -30|s --fps nan|s --fps 30x|s --fps 30/0|s --fps 30/|s --fps Auto|"
        "s --keys some|s --keys --rest|s --rest=|--rest= s|--log= x s|s --rest a --rest b|s --scale 0|s --scale -1|s "
        "--scale 1e9|"
        "s --up x|s --up zz");
    const auto refused = [&options](const std::vector<const char*>& line, const char* name)
    {
        const CommandLine result = Parse(line, options);
        EXPECT_FALSE(result.run) << name;
        EXPECT_EQ(result.status, 2) << name;
        EXPECT_TRUE(result.output.empty()) << name;
        EXPECT_NE(result.problem.find(". Try --help."), std::string::npos) << name << ": " << result.problem;
    };
    for (const auto& line : lines)
        refused(line, line.empty() ? "nothing" : line.back());
    for (std::string text; std::getline(plain, text, '|');)
    {
        std::istringstream in(text);
        const std::vector<std::string> words{std::istream_iterator<std::string>(in), {}};
        std::vector<const char*> line;
        line.reserve(words.size());
        for (const std::string& word : words)
            line.push_back(word.c_str());
        refused(line, text.c_str());
    }
}

TEST(ExportOptionsTest, HelpAndVersion)
{
    ExportOptions options;
    CommandLine result = Parse({"--help"}, options);
    EXPECT_FALSE(result.run);
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output.find("--all-clips"), std::string::npos);
    result = Parse({"--version"}, options);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output.compare(0, 11, "zoltexport "), 0);
}
