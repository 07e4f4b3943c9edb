# reminder_add_test(NAME name SOURCES ... LIBS ... [TIMEZONES tz...] [LABELS label...])
#
# One Qt Test executable per class or flow. With TIMEZONES the executable is
# registered once per zone (test name suffixed with the zone) and runs with
# TZ set, so date arithmetic is checked away from UTC and across daylight
# saving changes. LABELS tag the registered tests: "concurrency" marks the
# tests whose point is work across threads (ctest -L concurrency runs just
# those; the ThreadSanitizer build runs every test).
set(REMINDER_DATE_ZONES UTC America/New_York Australia/Sydney Asia/Kolkata)

function(reminder_add_test)
    cmake_parse_arguments(T "" "NAME" "SOURCES;LIBS;TIMEZONES;LABELS" ${ARGN})
    add_executable(${T_NAME} ${T_SOURCES})
    reminder_warnings(${T_NAME})
    target_link_libraries(${T_NAME} PRIVATE Qt6::Test ${T_LIBS})
    set(_env "QT_QPA_PLATFORM=offscreen")
    if(T_TIMEZONES)
        foreach(tz ${T_TIMEZONES})
            string(REPLACE "/" "_" tzname ${tz})
            add_test(NAME ${T_NAME}@${tzname} COMMAND ${T_NAME})
            set_tests_properties(${T_NAME}@${tzname} PROPERTIES
                ENVIRONMENT "${_env};TZ=${tz}" TIMEOUT 300 LABELS "${T_LABELS}")
        endforeach()
    else()
        add_test(NAME ${T_NAME} COMMAND ${T_NAME})
        set_tests_properties(${T_NAME} PROPERTIES
            ENVIRONMENT "${_env};TZ=UTC" TIMEOUT 300 LABELS "${T_LABELS}")
    endif()
endfunction()
