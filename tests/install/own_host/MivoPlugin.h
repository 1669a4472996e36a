#error "The library does not need to know what a plug-in is."
