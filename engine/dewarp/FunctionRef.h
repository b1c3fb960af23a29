// A borrowed callable: two pointers, no allocation, valid while the callable lives.
#pragma once

#include <memory>
#include <type_traits>
#include <utility>

namespace dewarp {

template <class Signature>
class FunctionRef;

/// Refers to a callable that the caller keeps alive for as long as the reference is used.
template <class Result, class... Arguments>
class FunctionRef<Result(Arguments...)>
{
public:
    template <class Callable,
              class = std::enable_if_t<!std::is_same_v<std::decay_t<Callable>, FunctionRef> &&
                                       std::is_invocable_r_v<Result, Callable&, Arguments...>>>
    FunctionRef(Callable&& callable)
        : m_object(const_cast<void*>(static_cast<const void*>(std::addressof(callable)))),
          m_call([](void* object, Arguments... arguments) -> Result {
              return (*static_cast<std::remove_reference_t<Callable>*>(object))(
                  std::forward<Arguments>(arguments)...);
          })
    {}

    Result operator()(Arguments... arguments) const
    {
        return m_call(m_object, std::forward<Arguments>(arguments)...);
    }

private:
    void* m_object;
    Result (*m_call)(void*, Arguments...);
};

}  // namespace dewarp
