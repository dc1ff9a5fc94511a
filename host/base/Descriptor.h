// A file that is open, closed at the end of the scope.
#pragma once

#include <unistd.h>

#include <utility>

namespace host {

class Descriptor {
  public:
    /// Takes an open file over; a negative number stands for none.
    explicit Descriptor(int number) noexcept : m_number(number) {}
    Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_number, other.m_number);
        return *this;
    }
    ~Descriptor() {
        if (m_number >= 0) {
            close(m_number);
        }
    }

    int Number() const noexcept { return m_number; }
    bool Close() noexcept { return close(std::exchange(m_number, -1)) == 0; }

  private:
    int m_number;
};

}  // namespace host
