// A global object whose destructor never runs: at the end of a process nothing may be freed, least of all
// libraries. What it holds is given back by the functions that run while the module is unloaded.
#pragma once

template <typename T>
union NeverDestroyed {
    NeverDestroyed() noexcept : object() {}
    ~NeverDestroyed() {}
    T object;
};
