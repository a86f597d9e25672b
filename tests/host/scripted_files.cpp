#include "tests/host/scripted_files.h"
#include <algorithm>
#include <velmont/platform.h>

namespace velmont::testing {

namespace {

struct Search {
    const std::vector<std::string> *names;
    std::size_t next;
};

ScriptedFiles &filesOf(void *context)
{
    return *static_cast<ScriptedFiles *>(context);
}

void note(void *context, const char *call, const char *path)
{
    filesOf(context).events.push_back(std::string(call).append(" ").append(path));
}

/// A name too long for the record fills it, without a null at its end.
void setName(VelmontFoundFile &found, const std::string &name)
{
    std::fill_n(found.name, sizeof found.name, '\0');
    name.copy(found.name, sizeof found.name);
}

void *findFirst(void *context, const char *pattern, VelmontFoundFile *found)
{
    note(context, "find", pattern);
    const auto entry = filesOf(context).found.find(pattern);
    if (entry == filesOf(context).found.end())
        return nullptr;
    ++filesOf(context).open;
    setName(*found, entry->second.at(0));
    return new Search{&entry->second, 1};
}

int findNext(void *context, void *search, VelmontFoundFile *found)
{
    filesOf(context).events.push_back("next");
    Search &at = *static_cast<Search *>(search);
    if (at.next == at.names->size())
        return 0;
    setName(*found, (*at.names)[at.next++]);
    return 1;
}

void findClose(void *context, void *search)
{
    filesOf(context).events.push_back("close");
    --filesOf(context).open;
    delete static_cast<Search *>(search);
}

int createDirectory(void *context, const char *path)
{
    note(context, "make", path);
    return 0;
}

unsigned fileAttributes(void *context, const char *path)
{
    note(context, "attributes", path);
    return filesOf(context).directories.count(path) != 0 ? 0x2010u : 0x20u;
}

} // namespace

ScriptedFiles::ScriptedFiles()
{
    VelmontPlatformServices services{};
    services.structBytes = sizeof services;
    services.context = this;
    services.findFirst = findFirst;
    services.findNext = findNext;
    services.findClose = findClose;
    services.createDirectory = createDirectory;
    services.fileAttributes = fileAttributes;
    VelmontInstallPlatformServices(&services);
}

ScriptedFiles::~ScriptedFiles()
{
    VelmontInstallPlatformServices(nullptr);
}

int ScriptedFiles::count(const std::string &event) const
{
    return static_cast<int>(std::count(events.begin(), events.end(), event));
}

} // namespace velmont::testing
