set(ZOPI_WARNINGS -Wall -Wextra -Wpedantic -Wshadow)
if(ZOPI_WARNINGS_AS_ERRORS)
  list(APPEND ZOPI_WARNINGS -Werror)
endif()
