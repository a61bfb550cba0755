# Completion of prismdrift's command line for fish.

function __prismdrift_sheet --description 'Whether a contact sheet is asked for'
    set -l words (commandline -opc)
    test (count $words) -gt 1 -a "$words[2]" = sheet
end

complete -c prismdrift -n 'test (count (commandline -opc)) -eq 1' -a sheet -d 'Make a contact sheet'

# The effect
complete -c prismdrift -l channel-order -x -a 'RGB RBG GRB GBR BRG BGR' -d 'Which channel goes where'
complete -c prismdrift -l shift-angle -x -d 'Degrees; 0 is to the right, 90 is down'
complete -c prismdrift -l shift-distance -x -d 'Pixels, -1000 to 1000'
complete -c prismdrift -l channel-scale -x -d 'R,G,B in percent, 0 to 200'
complete -c prismdrift -l channel-lightness -x -d 'R,G,B, -100 to 100'
complete -c prismdrift -l preset -x -a '(__fish_complete_suffix .json)' -d 'Take the values in a preset'
complete -c prismdrift -n 'not __prismdrift_sheet' -l save-preset -r -F -d 'Save all values as a preset'
complete -c prismdrift -n 'not __prismdrift_sheet' -l drawn -r -F -d 'Frames of a farm, in place of drawing'

# Input
complete -c prismdrift -l frames -x -d 'Render only these, such as 10-99 or 1-100x2,200'
complete -c prismdrift -l missing -x -a 'skip hold' -d 'Where a sequence lacks a picture'
complete -c prismdrift -l framerate -x -a '24 25 30 50 60 24000/1001 30000/1001 60000/1001' -d 'Frames per second'
complete -c prismdrift -l input-format -x -a 'rawvideo yuv4mpegpipe nut matroska mov image2pipe png_pipe' -d "By ffmpeg's name"
complete -c prismdrift -l video-size -x -a '1280x720 1920x1080 2048x1080 3840x2160 4096x2160' -d 'Of raw input'
complete -c prismdrift -l pixel-format -x -a 'rgba argb bgra rgb24 bgr24 gray yuv420p yuv422p yuv444p yuva420p yuva444p' -d 'Of raw input'
complete -c prismdrift -l layer -x -d 'Of an OpenEXR file'
complete -c prismdrift -l max-pixels -x -d 'Refuse pictures of more pixels'
complete -c prismdrift -l max-metadata -x -d 'MiB of texts and profiles to keep of a picture'

# Output
complete -c prismdrift -n 'not __prismdrift_sheet' -l codec -x -a 'h264 hevc prores qtrle png vp9 ffv1' -d 'Of the written video'
complete -c prismdrift -n 'not __prismdrift_sheet' -l quality -x -d '0 to 100; higher looks better and takes more space'
complete -c prismdrift -n 'not __prismdrift_sheet' -l encoder-preset -x -a 'ultrafast superfast veryfast faster fast medium slow slower veryslow placebo 5 4 3 2 1 0' -d 'Slower ones make smaller files; numbers are for vp9'
complete -c prismdrift -n 'not __prismdrift_sheet' -l depth -x -a '8 16 half float' -d 'Bits a channel, or floats'
complete -c prismdrift -n 'not __prismdrift_sheet' -l dither -d 'Where more than 8 bits become 8'
complete -c prismdrift -n 'not __prismdrift_sheet' -l output-format -x -a 'mp4 mov matroska webm nut rawvideo yuv4mpegpipe png jpg tif webp bmp tga ppm pam sgi qoi exr dpx hdr' -d 'For pipes and names without an ending'
complete -c prismdrift -n 'not __prismdrift_sheet' -l output-pixel-format -x -a 'rgba argb bgra rgb24 bgr24 gray yuv420p yuv422p yuv444p yuva420p yuva444p' -d 'Of the written video'

# A contact sheet
complete -c prismdrift -n __prismdrift_sheet -l vary -x -a 'channel-order= shift-angle= shift-distance= channel-scale= channel-lightness=' -d 'OPTION=VALUE,VALUE,…'
complete -c prismdrift -n __prismdrift_sheet -l columns -x -d 'Cells side by side'
complete -c prismdrift -n __prismdrift_sheet -l cell-width -x -d 'Pixels'

# Rendering and information
complete -c prismdrift -l downsample -x -d 'Distances are divided by N'
complete -c prismdrift -l linear -d 'Shift and push colours in linear light'
complete -c prismdrift -l renderer -x -a 'auto gl software' -d 'What draws'
complete -c prismdrift -l plugin -r -F -d 'The plug-in to load'
complete -c prismdrift -n 'not __prismdrift_sheet' -l list-parameters -d 'List the parameters'
complete -c prismdrift -n 'not __prismdrift_sheet' -l about -d 'What the effect says about itself'
complete -c prismdrift -n 'not __prismdrift_sheet' -l script -r -F -d 'Run a script and print its result'
complete -c prismdrift -n 'not __prismdrift_sheet' -l version -d 'Versions of all parts'
complete -c prismdrift -l progress -x -a 'bar lines kv none' -d 'How to report progress'
complete -c prismdrift -l quiet -d 'Errors only'
complete -c prismdrift -l verbose -d 'Print what draws and why, and messages of the plug-in'
complete -c prismdrift -s h -l help -d 'Print the help'
