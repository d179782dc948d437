#include "tests/tools/model/kelpexport/exporttest.h"

#include "zoltshared/stdzolt/stdiostream.h"

std::string ReadWholeFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void WriteWholeFile(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

std::unique_ptr<Model> LoadModelFile(const std::string& path)
{
    auto pModel = std::make_unique<Model>(&g_DefaultAllocator, &g_DefaultAllocator);
    ModelStream* pStream = OpenStdioStream(path.c_str(), "rb");
    EXPECT_NE(pStream, nullptr) << path;
    if (!pStream)
        return nullptr;
    LoadRequest request;
    request.m_pStream = pStream;
    const uint32_t result = pModel->Load(&request);
    pStream->Release();
    EXPECT_EQ(result, RESULT_OK);
    return result == RESULT_OK ? std::move(pModel) : nullptr;
}

ExportTest::ExportTest()
{
    SetRegistryFile((m_Folder / "registry.db").c_str());
    SetLogPath(m_Log.c_str());
    SetDialogUser(&m_User);
    ClearFaults();
    SetStatusSink(
        [](const char* text, void* context) { static_cast<ExportTest*>(context)->m_Status.emplace_back(text); }, this);
}

ExportTest::~ExportTest()
{
    SetStatusSink(nullptr, nullptr);
    SetCurrentScene(nullptr);
    ClearFaults();
    SetDialogUser(nullptr);
    SetLogPath(nullptr);
    SetRegistryFile(nullptr);
}

void ExportTest::OpenScene(const Scene& scene)
{
    RecordedSceneOptions options;
    options.clip = scene.clips.empty() ? -1 : 0;
    options.fps = 10.0;
    OpenScene(scene, options);
}

void ExportTest::OpenScene(const Scene& scene, const RecordedSceneOptions& options)
{
    SetCurrentScene(nullptr);
    m_pRecorded.reset();
    m_Scene = scene;
    m_pRecorded = std::make_unique<RecordedScene>(m_Scene, options);
    SetCurrentScene(m_pRecorded.get());
}

int ExportTest::Export(const std::string& animName, bool bForce, const std::vector<int>& answers, bool bDebug)
{
    m_User = ScriptedUser();
    m_User.Type(IDC_FILENAME, m_Path).Type(IDC_ANIMNAME, animName).SetCheck(IDC_FORCEOVERWRITE, bForce);
    m_User.SetCheck(IDC_DEBUGMODE, bDebug).Press(IDOK);
    for (const int answer : answers)
        m_User.Answer(answer);
    return init();
}

std::string ExportTest::Boxes() const
{
    std::string text;
    for (const ScriptedUser::SeenBox& box : m_User.m_Boxes)
        text += box.text + "|";
    return text;
}
