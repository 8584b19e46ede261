// A reference to a callable, for functions that call back and are too large to be a template.
#ifndef KAVEX_BASE_FUNCTION_H
#define KAVEX_BASE_FUNCTION_H

#include <memory>

template <class Signature>
class Callback;

// Valid as long as the callable that it was made from.
template <class Result, class... Arguments>
class Callback<Result(Arguments...)> {
public:
    template <class Callable>
    Callback(Callable &callable) noexcept
        : callable_(std::addressof(callable)), call_([](void *at, Arguments... arguments) -> Result {
              return (*static_cast<Callable *>(at))(arguments...);
          }) {}

    Result operator()(Arguments... arguments) const { return call_(callable_, arguments...); }

private:
    void *callable_;
    Result (*call_)(void *, Arguments...);
};

#endif
