#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

/// The programmable pair of fakes: what the engine and the algorithm library of a test were asked,
/// in order, and what they answer. Both fakes and the test program share it; it may be used from
/// any thread.
namespace fake {

/// One call of an entry point.
struct Call
{
    std::string name;
    std::vector<std::intptr_t> arguments;  ///< integers and pointers, in order
    std::vector<std::string> records;      ///< bytes behind the record pointers, as they came in

    int Int(std::size_t i) const { return static_cast<int>(arguments.at(i)); }

    template <class T>
    T* Pointer(std::size_t i) const
    {
        return reinterpret_cast<T*>(arguments.at(i));
    }

    /// A record as it came in. The type must have its size.
    template <class T>
    T Record(std::size_t i = 0) const
    {
        T record{};
        const std::string& bytes = records.at(i);
        if (bytes.size() != sizeof(T))
            throw std::length_error("record " + name + " has " + std::to_string(bytes.size()));
        std::memcpy(&record, bytes.data(), sizeof(T));
        return record;
    }
};

/// What an entry point does and returns; it may write through the call's pointers.
using Reply = std::function<std::intptr_t(const Call&)>;

/// Forgets calls and scripts, and gives every entry point its default answer:
/// RV_CreatePlayerForSpecialNeeds 7, RV_SetFishEyeCorrectEnable 3, RV_CreateFishEyeCorrect 11, 12,
/// ..., VxAlgo_FCU_Creat handle(), VxAlgo_FCU_Point_Transform the point (0.25, 0.75),
/// VxAlgo_FCU_Process one line of two points, every other 0.
void Reset();

/// What VxAlgo_FCU_Creat returns by default.
void* Handle();

/// The next calls of an entry point get the scripted replies in turn, then the standing one.
void Next(const std::string& name, Reply reply);
void Next(const std::string& name, std::intptr_t result);

/// The standing reply of an entry point, until Reset.
void Always(const std::string& name, Reply reply);
void Always(const std::string& name, std::intptr_t result);

/// Everything since Reset or the last TakeCalls, oldest first; TakeCalls also forgets it.
std::vector<Call> Calls();
std::vector<Call> TakeCalls();

/// The same, of one entry point or by name alone.
std::vector<Call> CallsOf(const std::string& name);
std::vector<std::string> Names();

/// Called by the fakes.
std::intptr_t Answer(Call call);

}  // namespace fake
