# Generated from the command line's definition by ./dev generate.
_vexlo_patch() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local command='' flags='' words='' kind='' word
  if [[ $current == '=' ]]; then
    current=''
  elif [[ $previous == '=' ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if [[ $word != -* ]]; then
      command=$word
      break
    fi
  done
  case $command in
    '') flags='-h --help --version' words='plan evaluate run check facts what-if help' ;;
    plan) flags='-h --help --patch --product --service-pack --strict --json --agent-root --base-dir --log-level --log-file' ;;
    evaluate) flags='-h --help --patch --product --service-pack --facts --ask-apple --ask-agent --strict --json --agent-root --base-dir --data-dir --log-dir --machine --log-level --log-file' ;;
    run) flags='-h --help --patch --product --service-pack --action --keep-going --explain --strict --json --agent-root --base-dir --data-dir --log-dir --machine --log-level --log-file' ;;
    check) flags='-h --help --strict --json' kind=-f ;;
    facts) flags='-h --help --application --all-applications --ask-apple --ask-agent --name --json --agent-root --base-dir --data-dir --log-dir --machine --log-level --log-file' ;;
    what-if) flags='-h --help --patch --product --service-pack --strict --compare --summary --summary-file --merge --json' kind=-f ;;
    help) flags='-h --help --as' words='plan evaluate run check facts what-if help actions'; [[ $previous != actions ]] || words='2001 siliconBatteryPercentageCheck 2002 intelBatteryPercentageCheck 2003 userLoggedInCheck 2004 multipleUserLoggedInCheck 2005 minimumDiskSpaceCheck 2006 macOSDeferCheck 2007 installMacOSUpdates 2008 applicationRunningCheck 2009 applicationRunningNotifier 2010 installMacOSUpdatesUsingInstallAssistant' ;;
  esac
  case $previous in
    --agent-root | --base-dir | --data-dir | --log-dir) flags='' words='' kind='' kind=-d ;;
    --log-file | --facts | --compare | --summary-file) flags='' words='' kind='' kind=-f ;;
    --patch | --product | --service-pack | --application | --name) flags='' words='' kind='' words='' ;;
    --action) flags='' words='' kind='' words='2001 siliconBatteryPercentageCheck 2002 intelBatteryPercentageCheck 2003 userLoggedInCheck 2004 multipleUserLoggedInCheck 2005 minimumDiskSpaceCheck 2006 macOSDeferCheck 2007 installMacOSUpdates 2008 applicationRunningCheck 2009 applicationRunningNotifier 2010 installMacOSUpdatesUsingInstallAssistant' ;;
    --machine) flags='' words='' kind='' words='auto apple-silicon intel' ;;
    --log-level) flags='' words='' kind='' words='debug info error none' ;;
    --as) flags='' words='' kind='' words='text markdown schema' ;;
  esac
  if [[ $current == -* ]]; then
    words=$flags kind=''
  fi
  COMPREPLY=()
  while IFS= read -r word; do
    COMPREPLY+=("$word")
  done < <(compgen ${kind:+"$kind"} -W "$words" -- "$current")
}
complete -o filenames -F _vexlo_patch vexlo-patch
