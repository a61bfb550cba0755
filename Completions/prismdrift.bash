# Completion of prismdrift's command line for bash.
# shellcheck shell=bash

_prismdrift() {
  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}
  # bash takes --option=value for three words.
  if [[ $cur == = ]]; then
    cur=
  elif [[ $prev == = ]]; then
    prev=${COMP_WORDS[COMP_CWORD - 2]}
  fi

  local both='--channel-order --shift-angle --shift-distance --channel-scale
    --channel-lightness --preset --frames --missing --framerate --input-format
    --video-size --pixel-format --layer --max-pixels --max-metadata --downsample --linear
    --renderer --plugin
    --help -h --progress --quiet --verbose'
  local render="$both --save-preset --drawn --codec --quality --encoder-preset --depth --dither
    --output-format --output-pixel-format
    --list-parameters --about --script --version"
  local sheet="$both --vary --columns --cell-width"

  local words=
  case $prev in
    --channel-order | channel-order) words='RGB RBG GRB GBR BRG BGR' ;;
    --missing) words='skip hold' ;;
    --framerate) words='24 25 30 50 60 24000/1001 30000/1001 60000/1001' ;;
    --input-format) words='rawvideo yuv4mpegpipe nut matroska mov image2pipe png_pipe' ;;
    --video-size) words='1280x720 1920x1080 2048x1080 3840x2160 4096x2160' ;;
    --pixel-format | --output-pixel-format)
      words='rgba argb bgra rgb24 bgr24 gray yuv420p yuv422p yuv444p yuva420p yuva444p'
      ;;
    --codec) words='h264 hevc prores qtrle png vp9 ffv1' ;;
    --encoder-preset)
      words='ultrafast superfast veryfast faster fast medium slow slower veryslow placebo
        5 4 3 2 1 0'
      ;;
    --depth) words='8 16 half float' ;;
    --output-format)
      words='mp4 mov matroska webm nut rawvideo yuv4mpegpipe
        png jpg tif webp bmp tga ppm pam sgi qoi exr dpx hdr'
      ;;
    --renderer) words='auto gl software' ;;
    --progress) words='bar lines kv none' ;;
    --vary)
      compopt -o nospace
      words='channel-order= shift-angle= shift-distance= channel-scale= channel-lightness='
      ;;
    --preset)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -X '!*.json' -- "$cur" && compgen -d -- "$cur")
      return
      ;;
    --plugin)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -X '!*.so' -- "$cur" && compgen -d -- "$cur")
      return
      ;;
    --shift-angle | --shift-distance | --channel-scale | --channel-lightness | --frames | \
      --quality | --downsample | --columns | --cell-width | --max-pixels | --max-metadata)
      compopt +o default
      return
      ;;
    --script | --save-preset | --drawn) return ;; # any file, which readline offers by itself
    *)
      if [[ $cur == -* ]]; then
        words=$render
        [[ ${COMP_WORDS[1]} != sheet ]] || words=$sheet
      elif ((COMP_CWORD == 1)) && [[ -n $cur && sheet == "$cur"* ]]; then
        words=sheet
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur" && compgen -f -- "$cur")
        return
      fi
      ;;
  esac
  [[ -z $words ]] || mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
}

complete -o default -F _prismdrift prismdrift
