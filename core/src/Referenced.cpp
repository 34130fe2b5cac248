#include <kyr/Referenced>

namespace kyr {

namespace {

Referenced::DeleteHandler s_deleteHandler = nullptr;

} // namespace

Referenced::~Referenced() = default;

int Referenced::ref()
{
    return static_cast<int>(apr_atomic_inc32(&m_count)) + 1;
}

int Referenced::unref()
{
    const int count =
        static_cast<int>(apr_atomic_add32(&m_count, static_cast<apr_uint32_t>(-1))) - 1;
    if (count == 0) {
        if (s_deleteHandler)
            s_deleteHandler(this);
        else
            delete this;
    }
    return count;
}

int Referenced::referenceCount() const
{
    return static_cast<int>(apr_atomic_read32(&m_count));
}

void Referenced::setDeleteHandler(DeleteHandler handler)
{
    s_deleteHandler = handler;
}

} // namespace kyr
