#include "abctools/viewpage.h"

#include "abctools/base64.h"
#include "viewer/viewertemplate.h"

using nlohmann::ordered_json;

std::string ImageAddress(std::span<const uint8_t> bytes)
{
    struct Kind
    {
        std::string_view m_Begin;
        size_t m_Offset;
        const char* m_pType;
    };
    static constexpr Kind KINDS[] = {{"\x89PNG\r\n", 0, "image/png"}, {"\xFF\xD8\xFF", 0, "image/jpeg"},
                                     {"GIF8", 0, "image/gif"},        {"WEBP", 8, "image/webp"},
                                     {"ftypavif", 4, "image/avif"},   {"BM", 0, "image/bmp"}};
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    for (const Kind& kind : KINDS)
    {
        if (text.size() > kind.m_Offset && text.substr(kind.m_Offset).starts_with(kind.m_Begin))
            return std::string("data:") + kind.m_pType + ";base64," + Base64(bytes);
    }
    return std::string();
}

static std::string EscapeHtml(const std::string& text)
{
    std::string html;
    for (const char c : text)
    {
        if (c == '<')
            html += "&lt;";
        else if (c == '&')
            html += "&amp;";
        else
            html += c;
    }
    return html;
}

// JSON that can stand in a <script>: no name in it ends that.
static std::string ScriptText(const ordered_json& json)
{
    const std::string text = json.dump(-1, ' ', true);
    std::string script;
    script.reserve(text.size());
    for (const char c : text)
    {
        if (c == '<')
            script += "\\u003c";
        else
            script += c;
    }
    return script;
}

std::string MakeViewPage(const ordered_json& files, const ordered_json& textures)
{
    std::string title;
    for (const ordered_json& file : files)
        title += (title.empty() ? "" : " | ") + EscapeHtml(file["name"].get<std::string>());
    const std::string_view pattern = ViewerTemplate();
    std::string page;
    size_t position = 0;
    const auto put = [&](std::string_view mark, const std::string& text)
    {
        const size_t at = pattern.find(mark, position);
        page += pattern.substr(position, at - position);
        page += text;
        position = at + mark.size();
    };
    if (pattern.empty())
        return page;
    put("@TITLE@", title);
    put("@DATA@", ScriptText({{"files", files}, {"textures", textures}}));
    page += pattern.substr(position);
    return page;
}

bool IsViewPage(std::string_view begin)
{
    return begin.starts_with("<!doctype html>\n<!-- Made by abctool view. -->");
}
