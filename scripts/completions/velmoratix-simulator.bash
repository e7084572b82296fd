# Completion of velmoratix-simulator for bash. Made by velmoratix-simulator --print bash.
_velmoratix_simulator() {
  case $3 in
    --machine)
      mapfile -t COMPREPLY < <(
        compgen -W "$("$1" --print machines 2>/dev/null)" -- "$2"
        compgen -f -X '!*.plist' -- "$2"
        compgen -d -- "$2"
      )
      ;;
    --display)
      mapfile -t COMPREPLY < <(compgen -f -- "$2")
      ;;
    --home)
      mapfile -t COMPREPLY < <(compgen -d -- "$2")
      ;;
    --script)
      mapfile -t COMPREPLY < <(compgen -f -- "$2")
      ;;
    --journal)
      mapfile -t COMPREPLY < <(compgen -f -- "$2")
      ;;
    --log)
      mapfile -t COMPREPLY < <(compgen -f -- "$2")
      ;;
    *)
      mapfile -t COMPREPLY < <(compgen -W '--machine --display --home --script --journal --log --help --version' -- "$2")
      ;;
  esac
}
complete -o filenames -F _velmoratix_simulator velmoratix-simulator
