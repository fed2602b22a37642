#include "TestArray.h"

#include <qbxapi_sim.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <mutex>
#include <set>

const std::string FREED = "0: freed";

namespace
{

TestArray* current = nullptr;
std::mutex lock;
std::set<void*> lists;  ///< handed out and not yet freed

bool isLogLine(const std::string& event)
{
    return std::isdigit(static_cast<unsigned char>(event[0])) != 0;
}

/// `log_message(4, "text")` as "4: text"; other records as they are.
std::string eventOf(const std::string& text)
{
    const std::string log = "log_message(";
    if (text.compare(0, log.size(), log) != 0) return text;
    const std::size_t quote = text.find('"');
    return text.substr(log.size(), 1) + ": " + text.substr(quote + 1, text.size() - quote - 3);
}

}  // namespace

TestArray::TestArray()
{
    current = this;
    setenv("QBX_LOG_FILE", "/dev/null", 1);
    setenv("QBX_SIM_STRICT", "1", 1);  // a misuse of the semaphore ends the program
    serve("empty");
}

TestArray::~TestArray()
{
    qbxsim_reset();
    EXPECT_EQ(cim_sem_wait(), 0);
    cim_sem_post();
    EXPECT_EQ(lists.size(), 0u) << "record lists that were not freed";
    lists.clear();
    current = nullptr;
}

void TestArray::serve(const std::string& name)
{
    setenv("QBX_ARRAY_FILE", (QBX_TEST_DATA "/" + name + ".json").c_str(), 1);
    mend();
}

void TestArray::fail(const std::string& operation, int status, unsigned call)
{
    ASSERT_EQ(qbxsim_failCall(operation.c_str(), call, status), 0) << operation;
}

void TestArray::failAfterwards(const std::string& operation, int status)
{
    ASSERT_EQ(qbxsim_failAfterCall(operation.c_str(), 0, status), 0) << operation;
}

void TestArray::mend()
{
    qbxsim_reset();
    fail("api_setCageLocation", 0);
    forget();
}

void TestArray::forget()
{
    qbxsim_recordCalls(1);
}

Texts TestArray::events() const
{
    Texts events;
    for (std::size_t i = 0; const char* const record = qbxsim_callRecord(i); ++i)
        events.push_back(eventOf(record));
    return events;
}

Texts TestArray::calls() const
{
    Texts calls = events();
    calls.erase(std::remove_if(calls.begin(), calls.end(), isLogLine), calls.end());
    return calls;
}

Texts TestArray::log(const std::string& prefix) const
{
    Texts lines;
    for (const std::string& event : events()) {
        if (isLogLine(event) && event != FREED && event.compare(0, prefix.size(), prefix) == 0)
            lines.push_back(event);
    }
    return lines;
}

Texts reading(const std::string& query)
{
    return {"cim_sem_wait() = 0", query + "(0) = 0", "cim_sem_post()"};
}

// ---- Between the providers and the simulated array ----

namespace
{

template <class Function>
Function* arrays(const char* operation, Function*)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, operation));
}

template <class List, class Record>
int passOn(int (*query)(int, List*), int zero, List* list, Record* List::*records)
{
    const int status = query(zero, list);
    const std::lock_guard<std::mutex> guard(lock);
    if (list->*records != nullptr) lists.insert(list->*records);
    return status;
}

}  // namespace

#define LIST_QUERY(operation, List, records)                                         \
    int operation(int zero, List* list)                                              \
    {                                                                                \
        return passOn(arrays(#operation, &(operation)), zero, list, &List::records); \
    }

extern "C" {

LIST_QUERY(api_getCagesNoMfg_Cached, api_CageList_t, cages)
LIST_QUERY(api_getCagesPS_Cached, api_CagePSList_t, cages)
LIST_QUERY(api_getMagazines_Cached, api_MagazineList_t, mags)
LIST_QUERY(api_getMagazinesNoMfg_Cached, api_MagazineList_t, mags)
LIST_QUERY(api_getFCALs_Cached, api_FCALList_t, fcals)
LIST_QUERY(api_getFCALsNoMfg_Cached, api_FCALList_t, fcals)

int api_getCages_Cached(int zero, api_CageList_t* list)
{
    const auto query = arrays(__func__, &api_getCages_Cached);
    const int status = passOn(query, zero, list, &api_CageList_t::cages);
    if (current->editCages) current->editCages(*list);
    return status;
}

int api_findMagazineIDs(const char* tag, api_MagazineIDs_t* ids)
{
    const int status = arrays(__func__, &api_findMagazineIDs)(tag, ids);
    if (current->editMagazineIDs) current->editMagazineIDs(*ids);
    return status;
}

void __real_free(void* memory);

/// Stands before free() in the objects of this program (-Wl,--wrap=free).
void __wrap_free(void* memory)
{
    std::unique_lock<std::mutex> guard(lock);
    const bool isList = lists.erase(memory) != 0;
    guard.unlock();
    __real_free(memory);
    if (isList) log_message(0, "freed");
}

}  // extern "C"
