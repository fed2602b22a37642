// Coroutines of a connection.
#pragma once

#include <coroutine>
#include <exception>
#include <utility>

namespace cimom
{

/// A coroutine, owned by this object: its frame lives as long. It starts when it is awaited, or its
/// handle is resumed; what it throws, whoever awaits it gets. Its own few lines rather than
/// Boost.Asio's awaitable: that ends the process when there is no memory for one of its operations.
class [[nodiscard]] Task
{
public:
    struct promise_type
    {
        Task get_return_object() noexcept { return Task(Handle::from_promise(*this)); }
        std::suspend_always initial_suspend() noexcept { return {}; }
        auto final_suspend() noexcept
        {
            struct Awaiter
            {
                bool await_ready() noexcept { return false; }
                std::coroutine_handle<> await_suspend(Handle ended) noexcept
                {
                    return ended.promise().next;
                }
                void await_resume() noexcept {}
            };
            return Awaiter{};
        }
        void return_void() noexcept {}
        void unhandled_exception() noexcept { error = std::current_exception(); }

        std::coroutine_handle<> next = std::noop_coroutine();  ///< goes on when this has ended
        std::exception_ptr error;
    };

    Task() noexcept = default;
    Task(Task&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Task& operator=(Task&& other) noexcept
    {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Task()
    {
        if (handle_) handle_.destroy();
    }

    std::coroutine_handle<> handle() const { return handle_; }
    bool hasEnded() const { return handle_.done(); }

    bool await_ready() const noexcept { return false; }
    std::coroutine_handle<> await_suspend(std::coroutine_handle<> awaiting) noexcept
    {
        handle_.promise().next = awaiting;
        return handle_;
    }
    void await_resume() const
    {
        if (handle_.promise().error) std::rethrow_exception(handle_.promise().error);
    }

private:
    using Handle = std::coroutine_handle<promise_type>;
    explicit Task(Handle handle) noexcept : handle_(handle) {}

    Handle handle_ = nullptr;
};

}  // namespace cimom
