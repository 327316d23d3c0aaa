# Tab completion of wmihost for PowerShell: dot-source this file. Where it finds nothing, PowerShell offers file names.
Register-ArgumentCompleter -Native -CommandName wmihost, wmihost.exe -ScriptBlock {
    param($word, $command, $cursor)
    $elements = $command.CommandElements | Where-Object { $_.Extent.EndOffset -lt $cursor } | ForEach-Object {
        if ($_ -is [System.Management.Automation.Language.StringConstantExpressionAst]) { $_.Value } else { $_.Extent.Text }
    }
    $words = @($elements | Select-Object -Skip 1)
    # An empty argument would be lost on the way.
    $typed = if ($word) { @('--') + $words + $word.Trim('"', "'") } else { @('--new', '--') + $words }
    & @($elements)[0] complete $typed 2>$null | Where-Object { $_ -ne ':files' } | ForEach-Object {
        [System.Management.Automation.CompletionResult]::new($_, $_, 'ParameterValue', $_)
    }
}
