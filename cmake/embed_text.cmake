# Text files as constants of a header, so that a program carries them.
#     embed_text(OUTPUT NAMESPACE FILE...)
# page.html becomes NAMESPACE::kPageHtml. The header is written again when a file changes.
function(embed_text output namespace)
    list(TRANSFORM ARGN PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/ OUTPUT_VARIABLE files)
    add_custom_command(
        OUTPUT ${output}
        COMMAND ${CMAKE_COMMAND} -DOUTPUT=${output} -DNAMESPACE=${namespace} "-DFILES=${files}"
                -P ${PROJECT_SOURCE_DIR}/cmake/write_embedded_text.cmake
        DEPENDS ${files} ${PROJECT_SOURCE_DIR}/cmake/write_embedded_text.cmake
        COMMENT "Writing ${output}"
        VERBATIM)
endfunction()
