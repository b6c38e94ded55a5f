#include "mediaconverter/job/JobFailure.h"

#include <system_error>

namespace mediaconverter {

JobFailure JobFailure::ofSystem(ConversionError error, int number) {
    return JobFailure(error, std::generic_category().message(number));
}

}  // namespace mediaconverter
