# Draws pixmaps from the SVG sources while building.
find_program(PELLORA_RSVG_CONVERT rsvg-convert REQUIRED)

# pellora_draw(outputs name sizes...): Resources/<name>.svg as <name>-<size>.png in the build folder.
function(pellora_draw outputs name)
  set(files ${${outputs}})
  foreach(size ${ARGN})
    set(png ${CMAKE_CURRENT_BINARY_DIR}/Artwork/${name}-${size}.png)
    add_custom_command(OUTPUT ${png}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/Artwork
      COMMAND ${PELLORA_RSVG_CONVERT} -w ${size} -h ${size} ${CMAKE_CURRENT_SOURCE_DIR}/Resources/${name}.svg -o ${png}
      DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/Resources/${name}.svg VERBATIM)
    list(APPEND files ${png})
  endforeach()
  set(${outputs} ${files} PARENT_SCOPE)
endfunction()
