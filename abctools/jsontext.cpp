#include "abctools/jsontext.h"

#include <nlohmann/json.hpp>

using nlohmann::ordered_json;

ordered_json TextList(const std::vector<std::string>& texts)
{
    ordered_json list = ordered_json::array();
    for (const std::string& text : texts)
        list.push_back(ToUtf8(text));
    return list;
}

std::string JsonText(const ordered_json& document)
{
    return document.dump(1, ' ', true) + "\n";
}
