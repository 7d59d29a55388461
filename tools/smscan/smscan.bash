# shellcheck shell=bash
# Completion of smscan's options. Printed by smscan --help-bash.
_smscan() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words
  # "--mode=gray" is three words to bash.
  if [[ $current == = ]]; then
    current=
  elif [[ $previous == = ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  case $previous in
    -m | --mode) words='bw gray color palette' ;;
    --depth) words='1 4 8 16 24 48' ;;
    -r | --resolution) words='75 100 150 200 300 400 600 1200' ;;
    --scale) words='0.5 1 2' ;;
    -p | --paper) words='max a4 b5 letter legal a5 b4 b6 b' ;;
    --source-type) words='adf flatbed' ;;
    -n | --pages) words='1 all' ;;
    --mech) words='memory native file block' ;;
    -o | --output)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -- "$current")
      return
      ;;
    -f | --format) words='bmp png tiff jpeg pdf' ;;
    --record)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -- "$current")
      return
      ;;
    --pixels) words='keep hash blank' ;;
    --set) words='unsharp-mask draft-scan descreening exposure-mode ui-mode clear-page pim light-path indicators feeder auto-feed' ;;
    -d | --source | --default | --area | --size | --brightness | --contrast | --highlight | --shadow | --threshold | --gamma | --timeout | --start | --quality) words= ;;
    *) words='--list --source --select --default --caps --mode --depth --resolution --scale --paper --area --size --source-type --feeder --flatbed --brightness --contrast --highlight --shadow --threshold --gamma --set --pages --mech --presto --ui --dry-run --timeout --output --format --multipage --start --force --quality --lossless --json --progress --record --pixels --survey --survey-modes --quiet --version --help --help-man --help-bash' ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -F _smscan smscan smscan.exe scan.sh
