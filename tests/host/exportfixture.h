// What the tests of whole exports by the host share: a small scene as text, options, a folder, settings of their own.
#pragma once

#include "host/console.h"
#include "host/exportsession.h"
#include "tests/scene/gltftext.h"
#include "tests/win32/temporaryfolder.h"
#include "win32/registrystore.h"

#include <sstream>

inline int AddTriangle(GltfText& text)
{
    return text.Floats("VEC3", {0, 0, 0, 4, 0, 0, 0, 4, 1}, R"("min": [0, 0, 0], "max": [4, 4, 1])");
}

// A clip of one channel; `name` may be empty.
inline std::string Animation(const std::string& name, int times, int values, const std::string& interpolation,
                             int node = 0, const std::string& path = "translation")
{
    return "{" + (name.empty() ? "" : R"("name": ")" + name + "\", ") + R"("samplers": [{"input": )" +
           std::to_string(times) + R"(, "output": )" + std::to_string(values) + R"(, "interpolation": ")" +
           interpolation + R"("}], "channels": [{"sampler": 0, "target": {"node": )" + std::to_string(node) +
           R"(, "path": ")" + path + R"("}}]})";
}

inline std::string ReadFile(const std::string& path)
{
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

class ExportFixture : public testing::Test
{
protected:
    ExportFixture() : m_State("XDG_STATE_HOME", (m_Folder / "state").c_str())
    {
        SetRegistryFile((m_Folder / "registry.db").c_str());
        std::filesystem::create_directory(m_Folder / "out");
        m_Options.scenePath = m_Folder / "scene.gltf";
        m_Options.outPath = m_Folder / "out/m.abc";
        m_Options.logPath = m_Folder / "log";
    }
    ~ExportFixture() override { SetRegistryFile(nullptr); }

    // The exit status; what was said on stderr is in m_Said, what was printed in m_Printed.
    int Run(DialogUser* terminal = nullptr)
    {
        char* texts[2] = {};
        size_t sizes[2] = {};
        FILE* err = open_memstream(&texts[0], &sizes[0]);
        FILE* out = open_memstream(&texts[1], &sizes[1]);
        int status = -1;
        {
            Console console(err, m_Options.quiet, false);
            ExportSurroundings surroundings;
            surroundings.out = out;
            surroundings.console = &console;
            surroundings.terminal = terminal;
            surroundings.plugin = ZOLT_PLUGIN;
            status = RunExport(m_Options, surroundings);
        }
        std::fclose(err);
        std::fclose(out);
        m_Said = texts[0];
        m_Printed = texts[1];
        std::free(texts[0]); // NOLINT(cppcoreguidelines-no-malloc): open_memstream's
        std::free(texts[1]); // NOLINT(cppcoreguidelines-no-malloc)
        return status;
    }

    bool Said(const std::string& text) const { return m_Said.find(text) != std::string::npos; }
    bool Printed(const std::string& text) const { return m_Printed.find(text) != std::string::npos; }

    TemporaryFolder m_Folder;
    ScopedVariable m_State;
    ExportOptions m_Options;
    std::string m_Said;
    std::string m_Printed;
};
