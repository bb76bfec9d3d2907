#pragma once

#include "MetricsText.hpp"

namespace tallyfox::server {

/// What the system knows of this process: processor time, memory, descriptors, start. What it does not tell is left
/// out.
void writeProcessMetrics(MetricsText& text);

}  // namespace tallyfox::server
