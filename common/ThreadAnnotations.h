#pragma once

#include "platform/sync/ThreadAnnotations.h" // IWYU pragma: export
